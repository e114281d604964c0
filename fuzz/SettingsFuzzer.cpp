// The settings file reader: any text is read without harm, and the file it writes back
// reads to the same sections and values.

#include "FuzzSupport.h"
#include "mail/SettingsFile.h"

#include <cstdint>

using namespace tessaron;
using fuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    SettingsDocument first;
    first.Parse(std::string(reinterpret_cast<const char*>(data), size));
    const std::string written = first.Serialize();
    SettingsDocument second;
    second.Parse(written);
    Require(second.Serialize() == written, "settings change when written and read again", written);
    return 0;
}
