// tessaron_screenshots [--private-home] OUTDIR: draws the main window offscreen over a
// small sample home folder and saves OUTDIR/main-window.png. The drives shown are "/" and
// a removable disk "BACKUP" (the output directory of the sample set), so the picture is
// the same on every machine; the folders and files are real ones.
//
// With --private-home, run inside a mount namespace of its own (unshare --mount, see
// scripts/screenshots.sh), the sample is made in a fresh tmpfs mounted on /home, so that
// it shows as /home/ann; that mount is seen by this process alone and goes with it. The
// program refuses the switch when its mount namespace is its parent's. Without the
// switch the sample is made in a temporary folder.
#include "frmMain.h"
#include "ui/DriveSource.h"

#include "mail/clsRegSettings.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPixmap>
#include <QSplitter>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tessaron;

namespace {

struct SampleFile {
    const char* path;
    long size;
    int daysAgo;
};

// Folders end in "/"; times are days before 1 June 2025, 10:15.
constexpr SampleFile kSample[] = {
    {"Documents/Letters/", 0, 40},
    {"Documents/Old drafts/", 0, 400},
    {"Documents/Taxes 2024/", 0, 60},
    {"Documents/budget 2025.ods", 48213, 3},
    {"Documents/garden plan.pdf", 1826344, 25},
    {"Documents/notes.txt", 3120, 0},
    {"Documents/report.odt", 212750, 7},
    {"Documents/scan-0001.png", 5243001, 90},
    {"Documents/Letters/bank.odt", 30120, 41},
    {"Documents/Old drafts/draft1.odt", 9000, 401},
    {"Pictures/Holiday/", 0, 200},
    {"Pictures/Holiday/beach.jpg", 4200000, 200},
    {"Music/", 0, 700},
    {".cache/", 0, 1},
};

// Times are set after everything is made, deepest first, so that making a file does not
// move its folder's time again.
bool MakeSample(const QString& home) {
    for (const SampleFile& f : kSample) {
        const QString path = home + "/" + f.path;
        const bool folder = path.endsWith('/');
        if (!QDir().mkpath(folder ? path : path.section('/', 0, -2))) {
            return false;
        }
        QFile file(path);
        if (!folder && (!file.open(QIODevice::WriteOnly) || !file.resize(f.size))) {
            return false;
        }
    }
    const std::time_t base = 1748772900; // 2025-06-01 10:15 UTC
    for (auto it = std::rbegin(kSample); it != std::rend(kSample); ++it) {
        const std::time_t t = base - std::time_t{86400} * it->daysAgo;
        const timespec times[2] = {{t, 0}, {t, 0}};
        utimensat(AT_FDCWD, QFile::encodeName(home + "/" + it->path).constData(), times, 0);
    }
    return true;
}

std::string MountNamespace(const std::string& pid) {
    char link[128] = {};
    const ssize_t n = readlink(("/proc/" + pid + "/ns/mnt").c_str(), link, sizeof link - 1);
    return n > 0 ? std::string(link, static_cast<std::size_t>(n)) : std::string();
}

// A tmpfs on /home, only when this process has a mount namespace of its own.
bool MountPrivateHome() {
    const std::string mine = MountNamespace("self");
    if (mine.empty() || mine == MountNamespace(std::to_string(getppid()))) {
        std::fprintf(stderr, "tessaron_screenshots: --private-home needs a mount namespace of "
                             "its own (unshare --mount)\n");
        return false;
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("sample", "/home", "tmpfs", 0, "size=16m,mode=0755") != 0) {
        std::perror("tessaron_screenshots: mount");
        return false;
    }
    return true;
}

std::vector<clsFSItem> SampleDrives() {
    clsFSItem root;
    root.Path = "/";
    root.IsDrive = true;
    root.DriveType = "FIXED";
    root.Size = 250e9;
    root.FreeSpace = 118e9;
    clsFSItem usb = root;
    usb.Path = "/media/ann/BACKUP";
    usb.DriveType = "REMOVABLE";
    usb.Description = "BACKUP";
    usb.Size = 64e9;
    usb.FreeSpace = 41.5e9;
    return {root, usb};
}

// A FULL set with verification: Documents without "Old drafts", and the holiday pictures.
void WriteSampleSet(const QString& file, const QString& home) {
    QFile out(file);
    out.open(QIODevice::WriteOnly);
    out.write(QString("Target = \"/media/ann/BACKUP/Tessaron\"\r\nBackupType = FULL\r\n"
                      "SaveLog = True\r\nVerify = True\r\nSelections = \"%1/Documents\" Except "
                      "(\"%1/Documents/Old drafts\")\r\n\t\"%1/Pictures/Holiday\"\r\n")
                  .arg(home)
                  .toUtf8());
}

} // namespace

int main(int argc, char** argv) {
    const bool privateHome = argc == 3 && std::string(argv[1]) == "--private-home";
    if (argc != 2 && !privateHome) {
        std::fprintf(stderr, "usage: tessaron_screenshots [--private-home] OUTDIR\n");
        return 2;
    }
    const QString outDir = QString::fromLocal8Bit(argv[argc - 1]);
    if (privateHome && !MountPrivateHome()) {
        return 1;
    }
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QTemporaryDir work;
    setenv("XDG_CONFIG_HOME", QFile::encodeName(work.path() + "/config").constData(), 1);
    QApplication app(argc, argv);
    const QString home = privateHome ? QString("/home/ann") : work.path() + "/home/ann";
    if (!work.isValid() || !MakeSample(home)) {
        std::fprintf(stderr, "tessaron_screenshots: cannot make the sample folder\n");
        return 1;
    }
    ui::SetDriveLister(SampleDrives);
    const QString set = work.path() + "/daily.set";
    WriteSampleSet(set, home);
    clsRegSettings settings;
    gui::frmMain window(settings);
    window.resize(980, 640);
    window.LoadSetup(set.toStdString());
    window.Browser().GoTo((home + "/Documents").toStdString());
    window.Browser().ListView()->setCurrentIndex(window.Browser().ListModel().index(6, 0));
    window.show();
    QApplication::processEvents();
    window.findChild<QSplitter*>("splSelect")->setSizes({300, 660});
    window.Browser().Tree()->scrollToTop(); // the ticked drive and the way down to the folder
    const QString out = outDir + "/main-window.png";
    if (!window.grab().save(out)) {
        std::fprintf(stderr, "tessaron_screenshots: cannot write %s\n", qPrintable(out));
        return 1;
    }
    std::printf("%s\n", qPrintable(out));
    return 0;
}
