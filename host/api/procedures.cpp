#include "host/api/backend.h"

#include <algorithm>

WNDPROC PutProcedure(std::vector<WNDPROC> &procedures, WNDPROC procedure)
{
    const WNDPROC replaced = procedures.back();
    const auto before = std::find(procedures.begin(), procedures.end(), procedure);
    if (before == procedures.end()) procedures.push_back(procedure);
    else procedures.erase(before + 1, procedures.end());
    return replaced;
}
