// Makes the manual's and the README's pictures of the windows: a run in progress, a
// finished run with verification, Email Setup and About. The runs are real backups of a
// small generated tree; the run in progress is slowed down so that its clock, rate and
// bars show what a user sees on a longer run.
//   tessaron_run_screenshots OUTPUT_FOLDER   (scripts/screenshots.sh)
#include "WindowApp.h"
#include "frmAbout.h"
#include "frmBackup.h"
#include "frmEmailSetup.h"

#include "mail/clsRegSettings.h"
#include "setfile/clsSetup.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <thread>

using namespace tessaron;

namespace {

// A run window that waits a little at every yield, and takes its picture once the overall
// bar has passed a given value and the screen has been refreshed.
class SlowWindow : public gui::frmBackup {
public:
    int shootAt = 101;
    QString file;

    void PumpMessages() override {
        std::this_thread::sleep_for(std::chrono::microseconds(3000));
        gui::frmBackup::PumpMessages();
        if (m_due && !file.isEmpty()) {
            Save(*this, file);
            file.clear();
        }
    }
    void ShowBar(ui::RunBar which, int value) override {
        gui::frmBackup::ShowBar(which, value);
        m_due = m_due || (which == ui::RunBar::Overall && value >= shootAt);
    }
    static void Save(QWidget& w, const QString& file) {
        if (!w.grab().save(file)) {
            std::cerr << "cannot write " << file.toStdString() << "\n";
        }
    }

private:
    bool m_due = false;
};

// A sample folder below a temporary root: folders and files are made on demand.
class Sample {
public:
    bool Ok() const { return m_dir.isValid(); }
    std::string Path(const std::string& rel) const {
        return m_dir.path().toStdString() + "/" + rel;
    }
    void Write(const std::string& rel, std::size_t size, unsigned seed) const {
        const std::filesystem::path p = Path(rel);
        std::filesystem::create_directories(p.parent_path());
        std::string data(size, '\0');
        std::mt19937 gen(seed);
        for (char& c : data) {
            c = static_cast<char>(gen());
        }
        std::ofstream(p, std::ios::binary) << data;
    }
    void MakeDir(const std::string& rel) const { std::filesystem::create_directories(Path(rel)); }

private:
    QTemporaryDir m_dir;
};

void MakeTree(const Sample& tree) {
    const char* folders[] = {"Letters", "Photos/2024", "Photos/2025", "Projects/garden",
                             "Accounts"};
    int n = 0;
    for (const char* folder : folders) {
        for (int i = 0; i < 12; ++i, ++n) {
            const std::size_t size = (n % 5 == 0) ? 3'000'000 : 20'000 + 3'000 * n;
            tree.Write(std::string("home/ann/Documents/") + folder + "/file" + std::to_string(i) +
                           (n % 3 ? ".odt" : ".jpg"),
                       size, static_cast<unsigned>(n));
        }
    }
    tree.MakeDir("media/usb/Backup");
}

void Run(const Sample& tree, bool verify, int shootAt, const QString& file) {
    clsSetup setup;
    setup.Target = tree.Path("media/usb/Backup");
    setup.BackupType = "FULL";
    setup.Verify = verify;
    setup.BlockSize = 65536;
    setup.Sel.AddSelection(tree.Path("home/ann/Documents"));
    SlowWindow window;
    window.resize(720, 540);
    window.Setup(setup);
    window.LogDir(tree.Path("logs"));
    window.shootAt = shootAt;
    window.file = shootAt <= 100 ? file : QString();
    window.Run(nullptr, false);
    if (shootAt > 100) {
        SlowWindow::Save(window, file);
    }
    window.close();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: tessaron_run_screenshots OUTPUT_FOLDER\n";
        return 2;
    }
    QApplication app(argc, argv);
    gui::SetUpApplication();
    const QDir out(QString::fromLocal8Bit(argv[1]));
    Sample tree;
    if (!tree.Ok()) {
        std::cerr << "cannot make a temporary folder\n";
        return 1;
    }
    MakeTree(tree);
    Run(tree, false, 45, out.filePath("run-in-progress.png"));
    Run(tree, true, 101, out.filePath("run-verified.png"));

    clsRegSettings settings;
    settings.SettingsFile(HKeyCurrentUser, tree.Path("settings.ini"));
    settings.SaveSetting("Settings", "SMTPServer", "smtp.example.com");
    settings.SaveSetting("Settings", "EmailFrom", "backup@example.com");
    settings.SaveSetting("Settings", "SMTPPort", "587");
    settings.SaveSetting("Settings", "SMTPSecurity", "STARTTLS");
    settings.SaveSetting("Settings", "SMTPUser", "backup@example.com");
    gui::frmEmailSetup email(settings);
    email.show();
    SlowWindow::Save(email, out.filePath("email-setup.png"));
    gui::frmAbout about;
    about.show();
    SlowWindow::Save(about, out.filePath("about.png"));
    return 0;
}
