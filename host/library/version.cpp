#include "host/documents/picture_file.h"
#include "host/library/velmorant.h"

#include <nlohmann/json.hpp>
#include <velmorant_commit.h>   // written by the build

#define AS_TEXT_ITSELF(words) #words
#define AS_TEXT(macro) AS_TEXT_ITSELF(macro)

#ifdef __clang__
static const char COMPILER[] = "Clang " __clang_version__;
#else
static const char COMPILER[] = "GCC " AS_TEXT(__GNUC__) "." AS_TEXT(__GNUC_MINOR__) "." AS_TEXT(__GNUC_PATCHLEVEL__);
#endif

int vlm_version(void) { return VLM_VERSION; }

const char *vlm_version_text(void) { return VELMORANT_VERSION; }

const char *vlm_build_text(void)
{
    try {
        static const std::string text = std::string("commit " VELMORANT_COMMIT ", " VELMORANT_TARGET ", ") + COMPILER +
                                        "\n" + CodecVersions() +
                                        ", nlohmann-json " AS_TEXT(NLOHMANN_JSON_VERSION_MAJOR) "." AS_TEXT(
                                            NLOHMANN_JSON_VERSION_MINOR) "." AS_TEXT(NLOHMANN_JSON_VERSION_PATCH);
        return text.c_str();
    } catch (const std::bad_alloc &) {
        return "commit " VELMORANT_COMMIT;
    }
}
