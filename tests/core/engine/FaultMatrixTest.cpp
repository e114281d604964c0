// Every error path of a run, injected through the file access: what the user sees, the
// result, and what stays on disk (never a partial copy under the real name, never an
// older good copy destroyed, nothing left behind under a temporary name).
#include "EngineTestSupport.h"
#include "FaultyFileAccess.h"

namespace tessaron::test {
namespace {

constexpr std::size_t kSize = 300000;

// What the copy of src/a.bin holds after the run.
enum class Copy { Old, Absent, Whole, First1000 };

struct FaultCase {
    const char* name;
    std::vector<Fault> faults; // paths may hold %A%, %AC% (its copy), %B%, %DIR%, %DIRC%
    const char* result;
    // Line starts, placeholders as above plus %OUT% and the system's codes of the errors
    // injected: %IO%, %DENIED%, %FULL%, %QUOTA%, %MISSING%.
    std::vector<std::string> shown;
    Copy a;
    bool bCopied = true;
    bool oldCopy = false; // a good copy of a.bin is there before the run
    bool stopVerify = false;
    bool warned = false; // the view's warning came once
};

// Each case runs with the copies made on the run's thread, and with 8 writers (a.bin and
// b.txt are then written by writers: each comes after the first file of its folder).
struct WriterCount {
    const char* name;
    int count;
};

class FaultMatrix : public EngineTest,
                    public ::testing::WithParamInterface<std::tuple<FaultCase, WriterCount>> {
protected:
    std::string Expand(std::string t) const {
        const fs::path a = src / "a.bin", b = src / "dir" / "b.txt";
        auto code = [](const SysError& e) { return std::to_string(e.Code()); };
        const std::pair<std::string, std::string> keys[] = {
            {"%AC%", Copy(a).string()},
            {"%A%", a.string()},
            {"%B%", b.string()},
            {"%DIRC%", Copy(src / "dir").string()},
            {"%DIR%", (src / "dir").string()},
            {"%OUT%", out.string()},
            {"%IO%", code(SysError::Io())},
            {"%DENIED%", code(SysError::AccessDenied())},
            {"%FULL%", code(SysError::NoSpace())},
            {"%QUOTA%", code(SysError::QuotaExceeded())},
            {"%MISSING%", code(SysError::NotFound())}};
        for (const auto& [key, value] : keys) {
            for (std::size_t p; (p = t.find(key)) != std::string::npos;) {
                t.replace(p, key.size(), value);
            }
        }
        return t;
    }
};

const std::string kOriginal = Bytes(kSize, 3);

TEST_P(FaultMatrix, UserSeesItAndNothingIsLost) {
    const FaultCase& c = std::get<0>(GetParam());
    WriteFile(src / "0.txt", "first");
    WriteFile(src / "a.bin", kOriginal);
    WriteFile(src / "dir" / "0.txt", "first");
    WriteFile(src / "dir" / "b.txt", "bbb");
    if (c.oldCopy) {
        WriteFile(Copy(src / "a.bin"), "good old copy");
    }
    setup.StopOnError = setup.Verify = c.stopVerify;
    FaultyFileAccess access;
    for (Fault f : c.faults) {
        f.path = Expand(f.path);
        access.faults.push_back(f);
    }
    RunBackup([&](BackupEngine& engine) {
        engine.FileAccess(access);
        engine.Writers(std::get<1>(GetParam()).count);
    });
    EXPECT_EQ(view.lines.empty() ? "" : view.lines.back(), c.result) << view.All();
    for (const std::string& line : c.shown) {
        EXPECT_TRUE(view.ShowsStart(Expand(line))) << Expand(line) << "\n" << view.All();
    }
    const fs::path aCopy = Copy(src / "a.bin");
    const std::string expected[] = {"good old copy", "", kOriginal, kOriginal.substr(0, 1000)};
    EXPECT_EQ(fs::exists(aCopy), c.a != Copy::Absent);
    EXPECT_TRUE(ReadFile(aCopy) == expected[static_cast<int>(c.a)]) << "copy of a.bin differs";
    EXPECT_EQ(fs::exists(Copy(src / "dir" / "b.txt")), c.bCopied);
    EXPECT_EQ(view.warnings.size(), c.warned ? 1u : 0u);
    for (const auto& e : fs::recursive_directory_iterator(out)) {
        EXPECT_EQ(e.path().filename().string().rfind(".tessaron-", 0), std::string::npos)
            << e.path();
    }
}

// Every matching call fails (the size phase lists and examines too).
Fault At(Op op, const char* path, SysError error, long long offset = -1) {
    Fault f{op, path, error};
    f.nth = 0;
    f.offset = offset;
    return f;
}

Fault Before(Op op, const char* path, std::function<void(const std::string&)> step) {
    Fault f{op, path, {}};
    f.before = std::move(step);
    return f;
}

Fault Nth(Fault f, int nth) {
    f.nth = nth;
    return f;
}

Fault Short(Op op) {
    Fault f{op, "", {}};
    f.shortMoves = true;
    return f;
}

const FaultCase kFaults[] = {
    FaultCase("ReadErrorMidFile", {At(Op::Read, "%A%", SysError::Io(), 131072)}, kError,
              {"Error During Read - %A%, Error: (%IO%) ", "Unable to Copy File - %A%"}, Copy::Old,
              true, true),
    FaultCase("WriteErrorMidFile", {At(Op::Write, "", SysError::Io(), 131072)}, kError,
              {"Error During Write - %AC%, Error: (%IO%) "}, Copy::Old, true, true),
    FaultCase("DiskFullMidFile", {At(Op::Write, "", SysError::NoSpace(), 65536)}, kError,
              {"Error During Write - %AC%, Error: (%FULL%) ", "Unable to Copy File - %A%"},
              Copy::Absent),
    FaultCase("QuotaMidFile", {At(Op::Write, "", SysError::QuotaExceeded(), 200000)}, kError,
              {"Error During Write - %AC%, Error: (%QUOTA%) "}, Copy::Old, true, true),
    FaultCase("ShortReadsAndWrites", {Short(Op::Read), Short(Op::Write)}, kComplete, {},
              Copy::Whole),
    FaultCase("OpenDenied", {At(Op::OpenFileAt, "%A%", SysError::AccessDenied())}, kError,
              {"Unable to open - %A%, Error: (%DENIED%) ", "Unable to Copy File - %A%"},
              Copy::Absent),
    FaultCase("ListDenied", {At(Op::List, "%DIR%", SysError::AccessDenied())}, kError,
              {"Unable to list directory - %DIR%, Error: (%DENIED%) "}, Copy::Whole, false),
    FaultCase("ExamineDenied", {At(Op::Examine, "%B%", SysError::AccessDenied())}, kError,
              {"Unable to examine - %B%, Error: (%DENIED%) "}, Copy::Whole, false),
    FaultCase("EnterDenied", {At(Op::OpenFolderAt, "%DIR%", SysError::AccessDenied())}, kError,
              {"Unable to open - %DIR%, Error: (%DENIED%) "}, Copy::Whole, false),
    FaultCase("Vanishes",
              {Before(Op::OpenFileAt, "%A%", [](const std::string& p) { fs::remove(p); })}, kError,
              {"Unable to open - %A%, Error: (%MISSING%) "}, Copy::Absent),
    FaultCase("SmallFileVanishes",
              {Before(Op::OpenFileAt, "%B%", [](const std::string& p) { fs::remove(p); })}, kError,
              {"Unable to open - %B%, Error: (%MISSING%) ", "Unable to Copy File - %B%"},
              Copy::Whole, false),
    FaultCase("SmallFileReadError", {At(Op::Read, "%B%", SysError::Io(), 0)}, kError,
              {"Error During Read - %B%, Error: (%IO%) ", "Unable to Copy File - %B%"}, Copy::Whole,
              false),
    FaultCase("Grows",
              {Before(Op::OpenFileAt, "%A%",
                      [](const std::string& p) { std::ofstream(p, std::ios::app) << "more"; })},
              kComplete, {}, Copy::Whole),
    FaultCase(
        "Shrinks",
        {Before(Op::OpenFileAt, "%A%", [](const std::string& p) { fs::resize_file(p, 1000); })},
        kComplete, {}, Copy::First1000),
    FaultCase("CloseFails", {At(Op::Close, "%AC%", SysError::Io())}, kError,
              {"Error During Write - %AC%, Error: (%IO%) "}, Copy::Absent),
    FaultCase("RenameFails", {At(Op::RenameAt, "%AC%", SysError::AccessDenied())}, kError,
              {"Unable to create - %AC%, Error: (%DENIED%) "}, Copy::Old, true, true),
    FaultCase("TimesFail", {At(Op::SetFileMeta, "%AC%", SysError::AccessDenied())}, kError,
              {"Unable to set attributes - %AC%, Error: (%DENIED%) "}, Copy::Absent),
    FaultCase("FolderCreateFails", {At(Op::CreateFolderAt, "%DIRC%", SysError::AccessDenied())},
              kError,
              {"Unable to create target directory - %DIRC% clsFileSystem.CreateDirectory() - Error "
               "(%DENIED%) "},
              Copy::Whole, false),
    FaultCase("FolderTimesFail", {At(Op::SetFolderMeta, "%DIRC%", SysError::AccessDenied())},
              kError, {"Unable to set attributes - %DIRC%, Error: (%DENIED%) "}, Copy::Whole),
    FaultCase("LogCannotBeWritten", {At(Op::WriteLog, "", SysError::NoSpace())}, kComplete,
              {"Unable to write log file - "}, Copy::Whole, true, false, false, true),
    FaultCase("MediumFlushFails", {At(Op::Sync, "", SysError::Io())}, kError,
              {"Unable to write to the target medium - %OUT%, Error: (%IO%) "}, Copy::Whole),
    // Moved, after it was counted, from a folder not yet walked into one already walked.
    FaultCase("MovedIntoAWalkedFolder",
              {Nth(Before(Op::List, "%DIR%",
                          [](const std::string& p) {
                              fs::rename(fs::path(p) / "b.txt",
                                         fs::path(p).parent_path() / "b.txt");
                          }),
                   2)},
              kError,
              {"1 counted file was not found when the copy reached it (moved or deleted while "
               "the backup ran)"},
              Copy::Whole, false),
    FaultCase("StopOnErrorStillVerifies", {At(Op::OpenFileAt, "%A%", SysError::AccessDenied())},
              kError, {"Unable to Copy File - %A%", "Verifying Files...", "Verify Complete"},
              Copy::Absent, false, false, true),
};

const WriterCount kWriters[] = {{"", 1}, {"_8Writers", 8}};

INSTANTIATE_TEST_SUITE_P(Faults, FaultMatrix,
                         ::testing::Combine(::testing::ValuesIn(kFaults),
                                            ::testing::ValuesIn(kWriters)),
                         ParamName());

} // namespace
} // namespace tessaron::test
