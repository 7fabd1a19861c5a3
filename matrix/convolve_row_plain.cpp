// For every processor.

#include "matrix/row_loops.h"

void ConvolveRowPlain(const RowJob &job) { ConvolveBlocks(job); }
