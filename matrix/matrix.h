// The filter matrix: a 7 x 7 kernel of whole numbers that a picture is convolved with, its text form and files, and the
// convolution itself.

#pragma once

#include "framework/worker.h"

// Stored as the ids of the radio buttons that choose them.
enum { PASS_DIFFERENCE = 940, PASS_ITERATIVE = 950, PASS_PLAIN = 1270 };
enum { COMBINE_SUBTRACT = 5140, COMBINE_ADD = 5150, COMBINE_REPLACE = 5160 };

constexpr int KERNEL_SIDE = 7, KERNEL_ELEMENTS = KERNEL_SIDE * KERNEL_SIDE;

struct MatrixParameters {
    int32_t kernel[KERNEL_ELEMENTS];     // row by row from the top left
    int32_t bias;                        // added after the division
    int32_t divisor;                     // of the weighted sum; 0 counts as 1
    int32_t passMode;                    // PASS_...
    int32_t combineMode;                 // COMBINE_...: what becomes of the sample and the filtered value
    int32_t iterations;                  // passes of PASS_ITERATIVE
    int32_t useRed, useGreen, useBlue;   // channels of 24-bit pictures that are filtered
};
struct MatrixBlock {
    EffectBlock common;
    MatrixParameters own;
};
BLOCK_SIZE(MatrixBlock, 360);

// Reads a kernel's text: 49 elements, divisor and bias as numbers between white space, then after one character of any
// kind the combine mode's letter, R, A or else Subtract. It never fails: numbers may be of any size (beyond 32 bits the
// nearest that fits), what is no number reads as 0 and the rest with it, and what a short text does not reach keeps its
// value. [any]
void ParseKernelText(MatrixParameters &own, const char *text);

//---- Filter files

// Bytes that the longest filter file and its zero byte fit into.
constexpr int FILTER_FILE_BYTES = 2000;

// Writes kernel, divisor, bias and combine mode as a filter file, with a zero byte after it, and returns its length
// without that byte. [any]
int FormatFilterFile(const MatrixParameters &own, char text[FILTER_FILE_BYTES]);
// Reads what FormatFilterFile wrote. False, and nothing changes, when the text is no filter file; one that is damaged
// further on is read as ParseKernelText reads it. [any]
bool ParseFilterFile(MatrixParameters &own, const char *text);

//---- Convolution

// The side (1, 3, 5 or 7) of the smallest centred square that holds all non-zero elements. The front of the kernel is
// rewritten with that square, row by row. [any]
int CompactKernel(int32_t kernel[KERNEL_ELEMENTS]);

// Convolves an 8-bit or 24-bit picture in place: each byte is combined, once after every kernel row from the top, with
// the weighted sum so far. Neighbours beyond the edge are the edge's own pixels. The divisor is not 0. A picture that
// is smaller than the kernel stays as it is; after an abort the rows not yet reached do. [run]
void ConvolveImage(const ImageView &view, const MatrixParameters &own);

// The worker of `filters`. [run]
void KPZAPI MatrixWorker(EffectBlock *shared);
