#pragma once
// A view that records what the run shows, and a temporary tree with a source, a target
// and a log folder.

#include "TempTree.h"
#include "TestNames.h"
#include "engine/BackupEngine.h"
#include "setfile/clsSetup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace tessaron::test {

constexpr const char* kComplete = ResultText(RunResult::Complete);
constexpr const char* kError = ResultText(RunResult::Error);
constexpr const char* kCancelled = ResultText(RunResult::Cancelled);

// Records the on-screen log and the warnings, and answers every question with No, Cancel
// or OK, as if a person had chosen the button that changes nothing.
class ScriptedView : public IBackupView {
public:
    std::vector<std::string> lines; // on-screen log without time stamps, appends applied
    std::vector<std::string> warnings;
    std::function<void()> onYield;

    void PhaseStarted(RunPhase, const clsProgress&) override {}
    void FileStarted(const std::string&) override {}
    void Progress(const clsProgress&) override {}
    void LogLine(const std::string& line) override {
        const size_t at = line.find(" - ");
        lines.push_back(at == std::string::npos ? line : line.substr(at + 3));
    }
    void AppendToLastLine(const std::string& text) override {
        if (!lines.empty()) {
            lines.back() += text;
        }
    }
    Answer Ask(const Question& question) override { return {SafeAnswer(question.Buttons)}; }
    void Warning(const std::string& text) override { warnings.push_back(text); }
    void Result(RunResult) override {}
    void Finished() override {}
    void Yield() override {
        if (onYield) {
            onYield();
        }
    }

    bool Shows(const std::string& text) const {
        return std::find(lines.begin(), lines.end(), text) != lines.end();
    }
    bool ShowsStart(const std::string& start) const {
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& s) { return s.rfind(start, 0) == 0; });
    }
    std::string All() const {
        std::string all;
        for (const std::string& line : lines) {
            all += line + "\n";
        }
        return all;
    }
};

// Expects the tree at copy to hold what the tree at source holds: the same names, kinds,
// file contents, link texts and permission bits.
inline void ExpectSameTree(const fs::path& source, const fs::path& copy) {
    std::vector<std::string> names, copies;
    for (const auto& e : fs::recursive_directory_iterator(source)) {
        names.push_back(fs::relative(e.path(), source).string());
    }
    for (const auto& e : fs::recursive_directory_iterator(copy)) {
        copies.push_back(fs::relative(e.path(), copy).string());
    }
    std::sort(names.begin(), names.end());
    std::sort(copies.begin(), copies.end());
    ASSERT_EQ(names, copies);
    for (const std::string& n : names) {
        const fs::file_status a = fs::symlink_status(source / n), b = fs::symlink_status(copy / n);
        EXPECT_EQ(a.type(), b.type()) << n;
        EXPECT_EQ(a.permissions(), b.permissions()) << n;
        if (a.type() == fs::file_type::symlink) {
            EXPECT_EQ(fs::read_symlink(source / n), fs::read_symlink(copy / n)) << n;
        } else if (a.type() == fs::file_type::regular) {
            EXPECT_TRUE(ReadFile(source / n) == ReadFile(copy / n)) << n;
        }
    }
}

// A fresh tree per test: root/src (the selection), root/out (the target), root/log.
class EngineTest : public ::testing::Test {
protected:
    TempTree tree;
    fs::path root{tree.Root()}, src, out, logs;
    ScriptedView view;
    clsSetup setup{NativePathStyle()};

    void SetUp() override {
        src = root / "src";
        out = root / "out";
        logs = root / "log";
        fs::create_directories(src);
        fs::create_directories(out);
        setup.Target = out.string();
        setup.BackupType = "FULL";
        setup.Quiet = true;
        setup.Sel.AddSelection(src.string());
    }

    // Runs the set with a new engine; returns Run's result.
    bool RunBackup(const std::function<void(BackupEngine&)>& prepare = nullptr) {
        view.lines.clear();
        BackupEngine engine(view);
        engine.Setup(setup);
        engine.LogDir(logs.string());
        if (prepare) {
            prepare(engine);
        }
        const bool ok = engine.Run();
        view.onYield = nullptr; // it may refer to the engine
        return ok;
    }
    fs::path Copy(const fs::path& source) const { return CopyOf(out, source); }
    // Whether links can be made here (not under Wine).
    bool CanMakeLinks() const {
        std::error_code ec;
        fs::create_symlink("nowhere", root / "probe-link", ec);
        fs::remove(root / "probe-link");
        return !ec;
    }
};

} // namespace tessaron::test
