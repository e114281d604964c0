// The commands of the main window: New, Load, Save, Save As, Start, Browse, Refresh.
#include "MessageBoxes.h"
#include "clsComDlg.h"
#include "frmMain.h"

#include "engine/RunChecks.h"

#include "platform/clsBinaryFile.h"
#include "platform/clsFileSystem.h"
#include "platform/clsPath.h"
#include "setfile/SetupLoad.h"

#include <QDir>
#include <QFileInfo>
#include <QLineEdit>

namespace tessaron::gui {

namespace {

const std::vector<FileFilter> kSetFilters = {{"Backup Set Files (*.set)", "*.set"},
                                             {"All Files (*.*)", "*.*"}};

// Where the set file dialogs open when there is no current file: the program's folder
// when the user may write there, else the home folder.
std::string DefaultSetFolder() {
    const std::string program = clsFileSystem::ProgramDir();
    if (!program.empty() && QFileInfo(QString::fromStdString(program)).isWritable()) {
        return program;
    }
    return QDir::homePath().toStdString();
}

// The target names a drive or a server (Windows) or is an absolute path (POSIX).
bool NamesDrive(const std::string& target) {
    if (NativePathStyle() == PathStyle::Posix) {
        return !target.empty() && target.front() == '/';
    }
    return !clsPath(target, PathStyle::Windows).Drive.empty();
}

// Writes text as the whole of fileName. An existing file is replaced in one step, so a
// failed write leaves it as it was; it keeps its permission bits. A symbolic link is
// written through, so the link stays.
bool WriteSetFile(const std::string& fileName, const std::string& text) {
    clsFileSystem fs;
    FileInfo old;
    fs.GetInfo(fileName, old);
    clsBinaryFile file;
    if (old.Exists && old.Kind == FileKind::Symlink) {
        return file.OpenFile(fileName, FileAccess::Write, FileShare::None,
                             FileOpen::CreateAlways) &&
               file.WriteFileText(text);
    }
    const clsPath path(fileName, NativePathStyle());
    const std::string folder = path.Drive + path.Directory;
    const std::string temp = fs.GetTempFile(folder.empty() ? "./" : folder, "set", "tmp");
    if (!file.OpenFile(temp, FileAccess::Write, FileShare::None, FileOpen::CreateNew)) {
        return false;
    }
    bool ok = file.WriteFileText(text);
    file.CloseFile();
    if (ok && old.Exists) {
        ok = fs.SetMode(temp, old.Mode);
    }
    if (!ok || !fs.Replace(temp, fileName)) {
        fs.Delete(temp);
        return false;
    }
    return true;
}

} // namespace

void frmMain::ResetSetup() {
    m_fileName.clear();
    ::tessaron::ResetSetup(m_setup);
    WriteRecordToControls();
    m_browser->Rebuild();
}

clsComDlg frmMain::SetFileDialog(const char* title) const {
    clsComDlg dlg;
    dlg.Title = title;
    dlg.Filter = kSetFilters;
    dlg.FilterIndex = 1;
    dlg.Owner = const_cast<frmMain*>(this);
    if (m_fileName.empty()) {
        dlg.InitDir = DefaultSetFolder();
    } else {
        const clsPath current(m_fileName, NativePathStyle());
        dlg.InitDir = current.Drive + current.Directory;
    }
    return dlg;
}

void frmMain::Load() {
    clsComDlg dlg = SetFileDialog("Choose a Backup Set File");
    const std::string fileName = dlg.GetFile();
    if (!fileName.empty()) {
        LoadSetup(fileName);
    }
}

bool frmMain::LoadSetup(const std::string& fileName) {
    std::string reason;
    if (!LoadSetupFile(fileName, m_setup, reason)) {
        ShowMessageBox(
            this, m_baseCaption,
            QString::fromStdString("Unable to load setup file - " + fileName + "\n" + reason),
            MsgButtons::OK);
        return false;
    }
    m_fileName = fileName;
    SetCaption();
    WriteRecordToControls();
    m_browser->Rebuild();
    return true;
}

bool frmMain::CheckSelections() {
    if (m_setup.Sel.Count() == 0) {
        Refuse("No Selections", "Please select an item");
        return false;
    }
    return true;
}

void frmMain::Save() {
    if (m_fileName.empty()) {
        SaveAs();
    } else if (CheckSelections()) {
        SaveSetup(m_fileName);
    }
}

void frmMain::SaveAs() {
    if (!CheckSelections()) {
        return;
    }
    clsComDlg dlg = SetFileDialog("Save Backup Set File");
    dlg.DefaultExtension = "set";
    if (!m_fileName.empty()) {
        dlg.InitFile = clsPath(m_fileName, NativePathStyle()).File();
    }
    const std::string chosen = dlg.SaveFile();
    if (chosen.empty()) {
        return;
    }
    clsPath path(chosen, NativePathStyle());
    if (path.Extension.empty()) {
        path.Extension = "set";
    }
    m_fileName = path.path();
    SetCaption();
    SaveSetup(m_fileName);
}

// A file that cannot be written is passed over without a message, as on every save.
void frmMain::SaveSetup(const std::string& fileName) {
    WriteSetFile(fileName, m_setup.Format());
}

void frmMain::Refuse(const char* title, const char* text, QWidget* focus) {
    ShowMessageBox(this, title, text, MsgButtons::OK);
    if (focus != nullptr) {
        focus->setFocus();
    }
}

bool frmMain::CheckStart() {
    if (!CheckSelections()) {
        return false;
    }
    if (m_setup.Target.empty()) {
        Refuse("No Target Selected", "Select Target Path", m_ui.txtOutput);
        return false;
    }
    if (!NamesDrive(m_setup.Target)) {
        Refuse("Invalid Target", "Target Path must specify a drive or server", m_ui.txtOutput);
        return false;
    }
    if (m_setup.BackupType.empty()) {
        Refuse("No Backup Type Selected", "Select a Backup Type (Full or Incremental)");
        return false;
    }
    return true;
}

void frmMain::Start() {
    if (!CheckStart()) {
        return;
    }
    // A set that passes the four checks can still have nothing to copy (a set file whose
    // selections are empty, or every selection is the target itself, however spelled):
    // the same refusal as the console's, never a "Backup Complete" of nothing.
    const std::string nothing = NothingToRunReason(m_setup);
    if (!nothing.empty()) {
        ShowMessageBox(this, "Nothing To Back Up", QString::fromStdString(nothing), MsgButtons::OK);
        return;
    }
    m_hooks.StartRun(this, m_setup, false);
}

void frmMain::Browse() {
    clsComDlg dlg;
    dlg.Title = "Select Output Directory";
    dlg.InitDir = m_setup.Target;
    dlg.Owner = this;
    const std::string folder = dlg.GetDirectory();
    if (!folder.empty()) {
        m_ui.txtOutput->setText(QString::fromStdString(folder));
    }
}

void frmMain::Refresh() {
    m_browser->Rebuild();
}

} // namespace tessaron::gui
