#include "host/library/user_places.h"

#include "host/paths/paths.h"

vlm_code CheckUserName(const UserFiles &kind, const std::string &name)
{
    const std::string fault = FaultOfUserName(kind, name);
    return fault.empty() ? VLM_OK : Fail(VLM_BAD_VALUE, name.empty() ? "''" : name, fault);
}

vlm_code PlaceForUserFile(const UserFiles &kind, const std::string &name, std::string &file)
{
    if (const vlm_code code = CheckUserName(kind, name)) return code;
    std::error_code failure;
    const std::string folder = FolderOf(kind);
    if (folder.empty()) return Fail(VLM_CANNOT_WRITE, kind.folder, "the system names no folder of the user's own");
    std::filesystem::create_directories(PathOf(folder), failure);
    if (failure) return Fail(VLM_CANNOT_WRITE, folder, failure.message());
    file = FileForUser(kind, name);
    return VLM_OK;
}
