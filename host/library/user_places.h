// Names and places of a user's own files, with the door's errors.

#pragma once

#include "host/acting/user_files.h"
#include "host/library/errors.h"

vlm_code CheckUserName(const UserFiles &kind, const std::string &name);
// Where one of that name is to be kept, whose folder is made. VLM_OK, or the noted error: a bad name, no folder.
vlm_code PlaceForUserFile(const UserFiles &kind, const std::string &name, std::string &file);
