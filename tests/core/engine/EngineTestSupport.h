#pragma once
// A scripted view that records what the run shows and answers its questions from a
// script, and a temporary tree with a source, a target and a log folder.

#include "engine/BackupEngine.h"
#include "setfile/clsSetup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace tessaron::test {

namespace fs = std::filesystem;

class ScriptedView : public IBackupView {
public:
    std::vector<std::string> lines; // on-screen log, appends applied
    std::map<ViewText, std::string> texts;
    int bars[2] = {0, 0};
    std::deque<MsgAnswer> answers;  // next answers; empty: No / Cancel / OK
    std::vector<std::string> asked; // titles of the questions asked
    std::function<void()> onYield;
    long yields = 0;
    bool finished = false;

    void AddLine(const std::string& line) override { lines.push_back(line); }
    void AppendToLastLine(const std::string& text) override {
        if (!lines.empty()) {
            lines.back() += text;
        }
    }
    void SetText(ViewText which, const std::string& text) override { texts[which] = text; }
    int GetBar(ViewBar which) const override { return bars[static_cast<int>(which)]; }
    void SetBar(ViewBar which, int value) override { bars[static_cast<int>(which)] = value; }
    MsgAnswer Ask(const std::string& title, const std::string&, MsgButtons buttons) override {
        asked.push_back(title);
        if (!answers.empty()) {
            MsgAnswer a = answers.front();
            answers.pop_front();
            return a;
        }
        return buttons == MsgButtons::OK      ? MsgAnswer::OK
               : buttons == MsgButtons::YesNo ? MsgAnswer::No
                                              : MsgAnswer::Cancel;
    }
    void Yield() override {
        ++yields;
        if (onYield) {
            onYield();
        }
    }
    void Finished(bool) override { finished = true; }

    // Shown lines without their time stamps.
    std::vector<std::string> Texts() const {
        std::vector<std::string> out;
        for (const auto& l : lines) {
            const size_t at = l.find(" - ");
            out.push_back(at == std::string::npos ? l : l.substr(at + 3));
        }
        return out;
    }
    bool Shows(const std::string& text) const {
        const auto t = Texts();
        return std::find(t.begin(), t.end(), text) != t.end();
    }
    bool ShowsStart(const std::string& start) const {
        const auto t = Texts();
        return std::any_of(t.begin(), t.end(),
                           [&](const std::string& s) { return s.rfind(start, 0) == 0; });
    }
};

inline std::string ReadAll(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

inline void WriteFile(const fs::path& p, const std::string& data) {
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << data;
}

inline std::string Bytes(size_t n, unsigned seed = 1) {
    std::mt19937 gen(seed);
    std::string s(n, '\0');
    for (auto& c : s) {
        c = static_cast<char>(gen());
    }
    return s;
}

// A fresh tree per test: root/src (the selection), root/out (the target), root/log.
class EngineTest : public ::testing::Test {
protected:
    fs::path root, src, out, logs;
    ScriptedView view;
    clsSetup setup{PathStyle::Posix};

    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(info->test_suite_name()) + "_" + info->name();
        std::replace(name.begin(), name.end(), '/', '_');
        root = fs::temp_directory_path() / ("tessaron_engine_" + name);
        fs::remove_all(root);
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
    void TearDown() override {
        std::error_code ec;
        fs::permissions(root, fs::perms::owner_all, fs::perm_options::add, ec);
        if (!std::getenv("KEEP"))
            fs::remove_all(root, ec);
    }

    // Runs the set with a new engine; returns Run's result.
    bool RunBackup(std::function<void(BackupEngine&)> prepare = nullptr) {
        view.lines.clear();
        view.asked.clear();
        BackupEngine engine(view);
        engine.Setup(setup);
        engine.LogDir(logs.string());
        if (prepare) {
            prepare(engine);
        }
        const bool ok = engine.Run(false);
        lastLog = ReadAll(engine.LogFile());
        lastBlockSize = engine.BlockSize();
        return ok;
    }
    fs::path Copy(const fs::path& source) const { return fs::path(out.string() + source.string()); }
    bool LogHas(const std::string& text) const { return lastLog.find(text) != std::string::npos; }

    std::string lastLog;
    std::int32_t lastBlockSize = 0;
};

} // namespace tessaron::test
