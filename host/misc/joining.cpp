#include "host/misc/joining.h"

#include "host/api/host_api.h"

static bool GiveRoutines()
{
    HostSetPreviewProcedure(PreviewProcedure);
    HostAtRunEnd(OnRunEnd);
    HostRelieveMemory(GiveUpOldestStep);
    return true;
}

void JoinHost() { [[maybe_unused]] static const bool joined = GiveRoutines(); }
