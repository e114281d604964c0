// What a whole program run cannot show: verification mismatch kinds, block rounds, copies
// still on their way to the medium and a relative selection.
#include "EngineTestSupport.h"
#include "platform/SystemFileAccess.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace tessaron::test {
namespace {

using RunTest = EngineTest;

TEST_F(RunTest, VerifyFileComparesEveryByte) {
    const std::string data = Bytes(70000, 7);
    const fs::path copy = out / "f.bin";
    const std::string mismatch = "Verify Error - File Mismatch";
    const struct {
        const char* name;
        std::function<void()> damage;
        bool ok;
        std::string line;
    } cases[] = {
        {"same", [] {}, true, ""},
        {"last byte", [&] { WriteFile(copy, data.substr(0, 69999) + "x"); }, false, mismatch},
        {"cut short", [&] { WriteFile(copy, data.substr(0, 1000)); }, false, mismatch},
        {"longer", [&] { WriteFile(copy, data + "tail"); }, true, ""},
        {"missing", [&] { fs::remove(copy); }, false,
         "Unable to open - " + copy.string() + ", Error: (" +
             std::to_string(SysError::NotFound().Code()) + ") "},
    };
    WriteFile(src / "f.bin", data);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        WriteFile(copy, data);
        c.damage();
        view.lines.clear();
        BackupEngine engine(view);
        engine.Setup(setup);
        bool ok = !c.ok;
        engine.VerifyFile((src / "f.bin").string(), copy.string(), ok);
        EXPECT_EQ(ok, c.ok);
        EXPECT_TRUE(c.line.empty() || view.ShowsStart(c.line)) << view.All();
    }
}

// A relative selection (from a hand-written set file) is copied below the target, never
// into a sibling folder whose name starts with the target's.
TEST_F(RunTest, RelativeSelectionLandsBelowTheTarget) {
    WriteFile(src / "a.txt", "a");
    const fs::path before = fs::current_path();
    fs::current_path(root);
    setup.Sel.Clear();
    setup.Sel.AddSelection("src");
    const bool ok = RunBackup();
    fs::current_path(before);
    EXPECT_TRUE(ok);
    EXPECT_EQ(ReadFile(out / "src" / "a.txt"), "a");
    EXPECT_FALSE(fs::exists(root / "outsrc"));
}

// Copy and verify move a file in one round per block of the block size (one yield each),
// whatever the alignment of the rounds, and every byte arrives. Rounds of blocks of
// 64 KiB or more end on 64 KiB boundaries, smaller ones on 4 KiB.
TEST_F(RunTest, OneRoundPerBlockForAnyBlockAndFileSize) {
    const struct {
        std::int32_t block;
        size_t size;
    } cases[] = {{128000, 1000000}, {128000, 300000}, {131072, 262144}, {65536, 200000},
                 {70000, 300001},   {5000, 12345},    {4096, 4097},     {1000, 2500}};
    setup.Verify = true;
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.block) + " " + std::to_string(c.size));
        fs::remove_all(out);
        fs::create_directories(out);
        WriteFile(src / "f.bin", Bytes(c.size, static_cast<unsigned>(c.size)));
        setup.BlockSize = c.block;
        std::vector<std::int64_t> seen;
        ASSERT_TRUE(RunBackup([&](BackupEngine& engine) {
            view.onYield = [&] {
                const clsProgress& p = engine.Progress();
                // The walk's yield after the file sees the same count again.
                if (p.CurrentSize == static_cast<std::int64_t>(c.size) && p.CurrentDone > 0 &&
                    (seen.empty() || seen.back() != p.CurrentDone)) {
                    seen.push_back(p.CurrentDone);
                }
            };
        }));
        EXPECT_EQ(ReadFile(Copy(src / "f.bin")), ReadFile(src / "f.bin"));
        const size_t blocks = (c.size + c.block - 1) / c.block;
        ASSERT_EQ(seen.size(), 2 * blocks); // copy, then verify
        const std::int64_t unit = c.block >= 65536 ? 65536 : 4096;
        for (size_t i = 0; i < blocks; ++i) {
            const auto end = static_cast<std::int64_t>(std::min((i + 1) * c.block, c.size));
            EXPECT_LE(seen[i], end);
            EXPECT_GT(seen[i], end - unit);
            if (c.block >= 4096 && i + 1 < blocks) {
                EXPECT_EQ(seen[i] % unit, 0);
            }
        }
        EXPECT_EQ(seen[blocks - 1], static_cast<std::int64_t>(c.size));
    }
}

// A copy on its way to the medium holds up neither the next copy nor anything before the
// result; one that never gets there fails the run under its own name.
TEST_F(RunTest, ResultWaitsForCopiesStillFlushing) {
    WriteFile(src / "a.txt", "a");
    WriteFile(src / "b.txt", "b");
    std::mutex m;
    std::condition_variable cv;
    int flushing = 0;
    bool released = false;
    SystemFileAccess access([&](clsBinaryFile& f) {
        std::unique_lock<std::mutex> hold(m);
        ++flushing;
        cv.notify_all();
        cv.wait(hold, [&] { return released; });
        f.LastErrorCode = SysError::Io().Code();
        return !f.CreatedPath().ends_with("a.txt");
    });
    bool bothClosedFirst = false;
    std::thread release([&] {
        std::unique_lock<std::mutex> hold(m);
        bothClosedFirst =
            cv.wait_for(hold, std::chrono::seconds(20), [&] { return flushing == 2; });
        released = true;
        cv.notify_all();
    });
    RunBackup([&](BackupEngine& engine) { engine.FileAccess(access); });
    release.join();
    EXPECT_TRUE(bothClosedFirst);
    EXPECT_TRUE(view.ShowsStart("Error During Write - " + Copy(src / "a.txt").string()))
        << view.All();
    EXPECT_EQ(view.lines.back(), kError);
}

} // namespace
} // namespace tessaron::test
