#pragma once
// Verifier: each copy read back from the medium beside its source and compared block by
// block. It changes nothing on disk.

#include "engine/RunState.h"

namespace tessaron {

class Verifier {
public:
    explicit Verifier(RunState& run) : m_run(run) {}

    // Compares s with its copy d. False after an open or read error or a mismatch
    // (logged); true when every block matched up to the end of the source, or when the
    // run was cancelled during the file.
    bool VerifyFile(const Source& s, const Dest& d);

private:
    bool OpenBoth(const Source& s, const Dest& d, clsBinaryFile& src, clsBinaryFile& dst);
    bool OpenCopy(const Dest& d, clsBinaryFile& file, SysError& error);
    bool VerifyLink(const Source& s, const Dest& d);
    bool CompareBlocks(clsBinaryFile& src, clsBinaryFile& dst, const std::string& source,
                       const std::string& target, std::int64_t size);
    long long ReadFull(clsBinaryFile& file, unsigned char* buffer, long long count);

    RunState& m_run;
};

} // namespace tessaron
