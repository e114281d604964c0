// The backup set file reader: any text is read without harm, and what Format writes reads
// back to the same record (the second Format equals the first). Known changes: a set
// without selections writes an empty selections value, which reads as one entry with an
// empty path. The selections text cannot hold every path: an empty one ("") followed by
// another entry reads as two entries (the tokenizer gives an empty token for the blank
// after an empty quoted section), and the tokens lose their quotes, so paths that read
// as the words of the text ("Except", "(", ")") are taken as those words.

#include "FuzzSupport.h"
#include "setfile/clsSetup.h"

#include <cstdint>
#include <string_view>

using namespace tessaron;
using fuzz::Require;

namespace {

bool Unwritable(std::string path) {
    for (char& c : path)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return path.empty() || path == "EXCEPT" || path == "(" || path == ")";
}

bool HasUnwritablePath(const clsSelections& sel) {
    for (int32_t i = 1; i <= sel.Count(); ++i) {
        const clsSelItem* item = sel.Item(i);
        if (Unwritable(item->path()))
            return true;
        for (const std::string& except : item->Except()) {
            if (Unwritable(except))
                return true;
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    // The first byte chooses the path style the selections compare in.
    const PathStyle style = data[0] % 2 == 0 ? PathStyle::Posix : PathStyle::Windows;
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    clsSetup first(style);
    first.Parse(text);
    const std::string written = first.Format();
    clsSetup second(style);
    Require(second.Parse(written), "what Format wrote does not read", written);
    if (HasUnwritablePath(first.Sel))
        return 0;
    const std::string expected = first.Sel.Count() == 0 ? written + "\"\"\r\n" : written;
    Require(second.Format() == expected, "a set changes when written and read again", written);
    return 0;
}
