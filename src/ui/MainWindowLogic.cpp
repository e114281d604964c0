#include "ui/MainWindowLogic.h"

#include "engine/RunChecks.h"
#include "platform/clsBinaryFile.h"
#include "platform/clsFileSystem.h"
#include "platform/clsPath.h"
#include "setfile/SetupLoad.h"

namespace tessaron::ui {

namespace {

const char* const kBaseCaption = "Tessaron";

const std::vector<FileFilter> kSetFilters = {{"Backup Set Files (*.set)", "*.set"},
                                             {"All Files (*.*)", "*.*"}};

bool* SwitchField(clsSetup& setup, Switch which) {
    switch (which) {
    case Switch::Clean:
        return &setup.CleanTarget;
    case Switch::SaveLog:
        return &setup.SaveLog;
    case Switch::StopOnError:
        return &setup.StopOnError;
    case Switch::Verify:
        return &setup.Verify;
    case Switch::Eject:
        return &setup.EjectMedia;
    case Switch::Email:
        break;
    }
    return &setup.Email;
}

} // namespace

MainWindowLogic::MainWindowLogic(MainWindowView& view, std::string setFolder)
    : m_view(view), m_setFolder(std::move(setFolder)) {
    ResetSetup(m_setup);
}

MainWindowOptions MainWindowLogic::Options() const {
    MainWindowOptions o;
    o.Output = m_setup.Target;
    o.EmailTo = m_setup.EmailTo;
    const std::optional<BackupKind> kind = BackupKindOf(m_setup.BackupType);
    o.Full = kind == BackupKind::Full;
    o.Incremental = kind == BackupKind::Incremental;
    o.Clean = m_setup.CleanTarget;
    o.SaveLog = m_setup.SaveLog;
    o.StopOnError = m_setup.StopOnError;
    o.Verify = m_setup.Verify;
    o.Eject = m_setup.EjectMedia;
    o.Email = m_setup.Email;
    o.CleanEnabled = !o.Incremental;
    o.EmailToEnabled = m_setup.Email;
    return o;
}

// The controls are told only what differs from what they show, and before they are told,
// so that a control passing its new value back changes nothing.
void MainWindowLogic::Changed() {
    const MainWindowOptions now = Options();
    if (now == m_shown) {
        return;
    }
    m_shown = now;
    m_view.ShowOptions(now);
}

void MainWindowLogic::ShowAll() {
    m_shown = Options();
    m_view.ShowOptions(m_shown);
    m_view.ShowCaption(m_caption);
}

void MainWindowLogic::OutputChanged(const std::string& text) {
    m_setup.Target = text;
    Changed();
}

void MainWindowLogic::EmailToChanged(const std::string& text) {
    m_setup.EmailTo = text;
    Changed();
}

void MainWindowLogic::SwitchChanged(Switch which, bool on) {
    *SwitchField(m_setup, which) = on;
    ApplyOptionRules(m_setup); // a greyed clearing box stays unticked
    Changed();
}

void MainWindowLogic::TypeChosen(BackupKind kind) {
    m_setup.BackupType = BackupTypeName(kind);
    ApplyOptionRules(m_setup);
    Changed();
}

void MainWindowLogic::New() {
    m_fileName.clear();
    ResetSetup(m_setup);
    Changed();
    m_view.RebuildSelection();
}

FileDialogRequest MainWindowLogic::SetFileDialog(const char* title) const {
    FileDialogRequest dlg;
    dlg.Title = title;
    dlg.Filter = kSetFilters;
    dlg.FilterIndex = 1;
    if (m_fileName.empty()) {
        dlg.InitDir = m_setFolder;
    } else {
        const clsPath current(m_fileName, NativePathStyle());
        dlg.InitDir = current.Drive + current.Directory;
    }
    return dlg;
}

void MainWindowLogic::Load() {
    const std::string fileName =
        m_view.FileDialog(FileDialogKind::Open, SetFileDialog("Choose a Backup Set File"));
    if (!fileName.empty()) {
        LoadSetup(fileName);
    }
}

void MainWindowLogic::TakeFileName(const std::string& fileName) {
    m_fileName = fileName;
    m_caption = std::string(kBaseCaption) + " - " + fileName;
    m_view.ShowCaption(m_caption);
}

bool MainWindowLogic::LoadSetup(const std::string& fileName) {
    std::string reason;
    if (!LoadSetupFile(fileName, m_setup, reason)) {
        m_view.Message(kBaseCaption, "Unable to load setup file - " + fileName + "\n" + reason,
                       MsgButtons::OK);
        return false;
    }
    TakeFileName(fileName);
    Changed();
    m_view.RebuildSelection();
    return true;
}

bool MainWindowLogic::CheckSelections() {
    if (m_setup.Sel.Count() == 0) {
        Refuse("No Selections", "Please select an item");
        return false;
    }
    return true;
}

void MainWindowLogic::Save() {
    if (m_fileName.empty()) {
        SaveAs();
    } else if (CheckSelections()) {
        // A file that cannot be written is passed over without a message, as on every save.
        WriteSetFile(m_fileName, m_setup.Format());
    }
}

void MainWindowLogic::SaveAs() {
    if (!CheckSelections()) {
        return;
    }
    FileDialogRequest dlg = SetFileDialog("Save Backup Set File");
    dlg.DefaultExtension = "set";
    if (!m_fileName.empty()) {
        dlg.InitFile = clsPath(m_fileName, NativePathStyle()).File();
    }
    const std::string chosen = m_view.FileDialog(FileDialogKind::Save, dlg);
    if (chosen.empty()) {
        return;
    }
    clsPath path(chosen, NativePathStyle());
    if (path.Extension.empty()) {
        path.Extension = "set";
    }
    TakeFileName(path.path());
    WriteSetFile(m_fileName, m_setup.Format());
}

void MainWindowLogic::Refuse(const char* title, const std::string& text, bool focusOutput) {
    m_view.Message(title, text, MsgButtons::OK);
    if (focusOutput) {
        m_view.FocusOutput();
    }
}

bool MainWindowLogic::CheckStart() {
    if (!CheckSelections()) {
        return false;
    }
    if (m_setup.Target.empty()) {
        Refuse("No Target Selected", "Select Target Path", true);
        return false;
    }
    if (!TargetNamesDrive(m_setup.Target)) {
        Refuse("Invalid Target", "Target Path must specify a drive or server", true);
        return false;
    }
    if (m_setup.BackupType.empty()) {
        Refuse("No Backup Type Selected", "Select a Backup Type (Full or Incremental)");
        return false;
    }
    // A set that passes the four checks can still have nothing to copy (every selection
    // is the target itself, however spelled): the same refusal as the console's, never a
    // "Backup Complete" of nothing.
    if (const std::string nothing = NothingToRunReason(m_setup); !nothing.empty()) {
        Refuse("Nothing To Back Up", nothing);
        return false;
    }
    return true;
}

void MainWindowLogic::Start() {
    if (CheckStart()) {
        m_view.StartRun(m_setup);
    }
}

void MainWindowLogic::Browse() {
    FileDialogRequest dlg;
    dlg.Title = "Select Output Directory";
    dlg.InitDir = NearestExistingFolder(m_setup.Target);
    const std::string folder = m_view.FileDialog(FileDialogKind::Directory, dlg);
    if (!folder.empty()) {
        m_setup.Target = folder;
        Changed();
    }
}

std::string NearestExistingFolder(const std::string& folder) {
    constexpr bool windows = NativePathStyle() == PathStyle::Windows;
    const auto isSeparator = [](char c) { return c == '/' || (windows && c == '\\'); };
    clsFileSystem fs;
    std::string p = folder;
    // Each step drops the last component, so the walk ends at the top of the path.
    while (!p.empty() && !fs.IsDirectory(p)) {
        std::size_t end = p.size();
        while (end > 1 && isSeparator(p[end - 1])) {
            --end;
        }
        std::size_t cut = end;
        while (cut > 0 && !isSeparator(p[cut - 1])) {
            --cut;
        }
        if (cut == 0 || cut >= p.size()) {
            return "";
        }
        p.resize(cut);
    }
    return p;
}

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

} // namespace tessaron::ui
