// tessaron_gui_bench [--quick] DIR: times the main window offscreen on folders it makes
// in DIR (and removes again):
//   8a a folder of 100,000 files shown in the list   (target < 1 s)
//   8b that folder sorted by a column (Size)          (target < 0.5 s)
//   8c a tree node with 10,000 sub-folders expanded   (target < 1 s)
//   8d a drive ticked with the folder of 8a below it  (instant: marks come from the set)
// Each case is the median of 5 runs and includes painting the window. --quick makes
// 2,000 files and 200 folders and runs once. Output: one line per case,
// "case<TAB>seconds<TAB>target seconds<TAB>description"; exit status 1 when the folders
// cannot be made.
#include "frmMain.h"

#include "mail/clsRegSettings.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace tessaron;

namespace {

// n files of varied sizes and times (sparse, so making them is quick).
bool MakeFiles(const std::string& dir, int n) {
    if (mkdir(dir.c_str(), 0755) != 0) {
        return false;
    }
    for (int i = 0; i < n; ++i) {
        const std::string name = dir + "/file-" + std::to_string((i * 7919) % n) + ".dat";
        const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
        if (fd < 0 || ftruncate(fd, (i * 104729L) % 5000000) != 0) {
            return false;
        }
        const timespec t[2] = {{1600000000 + i * 37L % 86400000, 0}, {1600000000 + i * 37L, 0}};
        futimens(fd, t);
        close(fd);
    }
    return true;
}

bool MakeFolders(const std::string& dir, int n) {
    if (mkdir(dir.c_str(), 0755) != 0) {
        return false;
    }
    for (int i = 0; i < n; ++i) {
        if (mkdir((dir + "/folder-" + std::to_string(i)).c_str(), 0755) != 0) {
            return false;
        }
    }
    return true;
}

// Median seconds of runs of step (after prepare, untimed); the window is painted inside
// the timed part.
double Median(int runs, QWidget& window, const std::function<void()>& prepare,
              const std::function<void()>& step) {
    std::vector<double> seconds;
    for (int i = 0; i < runs; ++i) {
        prepare();
        QApplication::processEvents();
        QElapsedTimer timer;
        timer.start();
        step();
        window.grab();
        seconds.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e9);
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds[seconds.size() / 2];
}

void Report(const char* id, double seconds, double target, const std::string& what) {
    std::printf("%s\t%.3f\t%.1f\t%s\n", id, seconds, target, what.c_str());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    const bool quick = argc == 3 && std::string(argv[1]) == "--quick";
    if (argc != 2 && !quick) {
        std::fprintf(stderr, "usage: tessaron_gui_bench [--quick] DIR\n");
        return 2;
    }
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QTemporaryDir config;
    setenv("XDG_CONFIG_HOME", QFile::encodeName(config.path()).constData(), 1);
    QApplication app(argc, argv);
    QTemporaryDir work(QString::fromLocal8Bit(argv[argc - 1]) + "/gui-XXXXXX");
    const int files = quick ? 2000 : 100000, folders = quick ? 200 : 10000, runs = quick ? 1 : 5;
    const std::string base = QFile::encodeName(QDir(work.path()).canonicalPath()).toStdString();
    if (!work.isValid() || !MakeFiles(base + "/files", files) ||
        !MakeFolders(base + "/folders", folders)) {
        std::fprintf(stderr, "tessaron_gui_bench: cannot make the folders in %s\n", argv[argc - 1]);
        return 1;
    }
    clsRegSettings settings;
    gui::frmMain window(settings);
    window.resize(1000, 700);
    window.show();
    gui::SelectionBrowser& browser = window.Browser();
    browser.GoTo(base);
    const QModelIndex parent = browser.TreeModel().FindKey(base);
    auto nodeOf = [&](const char* name) { return browser.TreeModel().FindKey(base + "/" + name); };
    const std::string n = QString("%L1").arg(files).toStdString();
    Report("8a",
           Median(
               runs, window, [&] { browser.ChooseNode(parent); },
               [&] { browser.ChooseNode(nodeOf("files")); }),
           1.0, "folder of " + n + " files shown");
    Report("8b",
           Median(
               runs, window, [] {}, [&] { browser.Panes().HeaderClicked(2); }),
           0.5, "folder of " + n + " files sorted by Size");
    const std::string m = QString("%L1").arg(folders).toStdString();
    Report("8c",
           Median(
               runs, window, [&] { browser.Rebuild(); },
               [&] { browser.Tree()->expand(nodeOf("folders")); }),
           1.0, "node with " + m + " sub-folders expanded");
    const QModelIndex drive = browser.TreeModel().FindKey("/");
    Report("8d",
           Median(
               runs, window, [&] { browser.NodeCheck(drive, false); },
               [&] { browser.NodeCheck(drive, true); }),
           0.1, "drive ticked with " + n + " files below");
    return 0;
}
