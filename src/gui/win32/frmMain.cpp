#include "frmMain.h"

#include "Controls.h"
#include "HelpFile.h"
#include "MessageBoxes.h"
#include "Win32Text.h"
#include "clsComDlg.h"
#include "frmAbout.h"
#include "frmBackup.h"
#include "frmEmailSetup.h"

#include "mail/clsRegSettings.h"
#include "platform/clsFileSystem.h"
#include "ui/WindowPlacement.h"

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

#include <shellapi.h>
#include <shlobj.h>

namespace tessaron::win {

namespace {

const wchar_t* const kClassName = L"TessaronMain";

// Where the set file dialogs open when there is no current file: the program's folder
// when the user may write there, else the user's documents.
std::string DefaultSetFolder() {
    const std::string program = clsFileSystem::ProgramDir();
    const std::wstring probe = Widen(program) + L"\\tessaron-write-probe.tmp";
    HANDLE file = ::CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (!program.empty() && file != INVALID_HANDLE_VALUE) {
        ::CloseHandle(file);
        return program;
    }
    PWSTR documents = nullptr;
    std::string folder = program;
    if (SUCCEEDED(::SHGetKnownFolderPath(FOLDERID_Documents, 0, nullptr, &documents))) {
        folder = Narrow(documents);
    }
    ::CoTaskMemFree(documents);
    return folder;
}

const std::pair<ControlId, ui::Switch> kSwitches[] = {{chkClean, ui::Switch::Clean},
                                                      {chkSaveLog, ui::Switch::SaveLog},
                                                      {chkStopOnError, ui::Switch::StopOnError},
                                                      {chkVerify, ui::Switch::Verify},
                                                      {chkEject, ui::Switch::Eject},
                                                      {chkEmail, ui::Switch::Email}};

bool IsChecked(HWND button) {
    return ::SendMessageW(button, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

} // namespace

frmMain::frmMain(clsRegSettings& settings)
    : m_settings(settings), m_logic(*this, DefaultSetFolder()), m_panes(m_logic.Setup().Sel) {}

frmMain::~frmMain() {
    if (m_window != nullptr) {
        ::DestroyWindow(m_window);
    }
    m_panes.SetView(nullptr, nullptr);
    for (HIMAGELIST images : m_images) {
        if (images != nullptr) {
            ::ImageList_Destroy(images);
        }
    }
    if (m_font != nullptr) {
        ::DeleteObject(m_font);
    }
    if (m_keys != nullptr) {
        ::DestroyAcceleratorTable(m_keys);
    }
}

bool frmMain::Create() {
    const HINSTANCE instance = ::GetModuleHandleW(nullptr);
    RegisterWindowClass(kClassName, &frmMain::WindowProc);
    const int width = Twips(12600, nullptr), height = Twips(8400, nullptr);
    m_window = ::CreateWindowExW(WS_EX_CONTROLPARENT, kClassName, L"Tessaron", WS_OVERLAPPEDWINDOW,
                                 CW_USEDEFAULT, CW_USEDEFAULT, width, height, nullptr, nullptr,
                                 instance, this);
    if (m_window == nullptr) {
        return false;
    }
    BuildControls();
    m_panes.SetView(this, m_tree.get());
    const ui::Placement saved = ui::ReadPlacement(m_settings);
    m_split = saved.Split > 0 ? saved.Split : Twips(3600, m_window);
    Layout();
    m_logic.ShowAll();
    m_panes.Rebuild();
    return true;
}

void frmMain::Show() {
    RestorePlacement();
    Layout();
    ::SetFocus(Control(tvSelect));
}

LRESULT CALLBACK frmMain::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = WindowObject<frmMain>(window, message, lParam);
    if (self != nullptr && message == WM_NCCREATE) {
        self->m_window = window;
    }
    return self != nullptr ? self->OnMessage(message, wParam, lParam)
                           : ::DefWindowProcW(window, message, wParam, lParam);
}

LRESULT frmMain::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED && m_tree) {
            Layout();
        }
        return 0;
    case WM_GETMINMAXINFO: {
        auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
        limits->ptMinTrackSize = {Twips(10000, m_window), Twips(6000, m_window)};
        return 0;
    }
    case WM_COMMAND:
        OnCommand(LOWORD(wParam), HIWORD(wParam));
        return 0;
    case WM_NOTIFY:
        return OnNotify(*reinterpret_cast<const NMHDR*>(lParam), lParam);
    case WM_SETCURSOR:
        if (LOWORD(lParam) == HTCLIENT) {
            POINT p{};
            ::GetCursorPos(&p);
            ::ScreenToClient(m_window, &p);
            if (OnSplitter(WM_SETCURSOR, MAKELPARAM(p.x, p.y))) {
                ::SetCursor(::LoadCursorW(nullptr, IDC_SIZEWE));
                return TRUE;
            }
        }
        break;
    case WM_LBUTTONDOWN:
    case WM_MOUSEMOVE:
    case WM_LBUTTONUP:
        OnSplitter(message, lParam);
        return 0;
    case WM_CLOSE:
        SavePlacement();
        CloseHelp();
        // The list's hook goes before the list does.
        ListCtrl::Uninstall(Control(lvSelect));
        ::DestroyWindow(m_window);
        return 0;
    case WM_DESTROY:
        m_window = nullptr;
        ::PostQuitMessage(0);
        return 0;
    default:
        break;
    }
    return ::DefWindowProcW(m_window, message, wParam, lParam);
}

void frmMain::OnCommand(int id, int code) {
    if (m_showing) {
        return; // the controls are being set from the record: no user change
    }
    for (const auto& [control, which] : kSwitches) {
        if (id == control && code == BN_CLICKED) {
            m_logic.SwitchChanged(which, !IsChecked(Control(control)));
            return;
        }
    }
    switch (id) {
    case txtOutput:
    case txtEmailTo:
        if (code == EN_CHANGE) {
            const std::string text = WindowText(Control(static_cast<ControlId>(id)));
            id == txtOutput ? m_logic.OutputChanged(text) : m_logic.EmailToChanged(text);
        }
        return;
    case optFull:
    case optIncremental:
        if (code == BN_CLICKED) {
            m_logic.TypeChosen(id == optFull ? BackupKind::Full : BackupKind::Incremental);
        }
        return;
    case cmdBrowse:
        m_logic.Browse();
        return;
    case cmdStart:
    case mnuStart:
        m_logic.Start();
        return;
    case mnuNew:
        m_logic.New();
        return;
    case mnuLoad:
        m_logic.Load();
        return;
    case mnuSave:
        m_logic.Save();
        return;
    case mnuSaveAs:
        m_logic.SaveAs();
        return;
    case mnuExit:
        ::SendMessageW(m_window, WM_CLOSE, 0, 0);
        return;
    case mnuRefresh:
        m_panes.Rebuild();
        return;
    default:
        MenuWindow(id);
    }
}

LRESULT frmMain::OnNotify(const NMHDR& header, LPARAM lParam) {
    LRESULT result = 0;
    if (header.idFrom == tvSelect && m_tree) {
        m_tree->OnNotify(header, result);
    } else if (header.idFrom == lvSelect && m_list) {
        m_list->OnNotify(header, lParam, result);
    }
    return result;
}

// The windows the Action and Help menus open.
void frmMain::MenuWindow(int id) {
    if (id == mnuContents) {
        OpenHelp(m_window);
    } else if (id == mnuAbout) {
        frmAbout().Show(m_window);
    } else if (id == mnuEmailSetup) {
        // The dialog reads and writes the user's settings, as the main window's store does.
        clsRegSettings settings;
        frmEmailSetup(settings).Show(m_window);
    }
}

bool frmMain::PreTranslate(MSG& msg) {
    return (m_keys != nullptr && ::TranslateAcceleratorW(m_window, m_keys, &msg)) ||
           ::IsDialogMessageW(m_window, &msg);
}

int frmMain::MessageLoop() {
    MSG msg{};
    while (::GetMessageW(&msg, nullptr, 0, 0) > 0) {
        if (m_window == nullptr || !PreTranslate(msg)) {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
        }
    }
    return 0;
}

void frmMain::ShowOptions(const ui::MainWindowOptions& o) {
    m_showing = true;
    const auto text = [this](ControlId id, const std::string& value) {
        if (WindowText(Control(id)) != value) {
            SetWindowText(Control(id), value);
        }
    };
    const auto check = [this](ControlId id, bool on) {
        ::SendMessageW(Control(id), BM_SETCHECK, on ? BST_CHECKED : BST_UNCHECKED, 0);
    };
    text(txtOutput, o.Output);
    check(optFull, o.Full);
    check(optIncremental, o.Incremental);
    const bool values[] = {o.Clean, o.SaveLog, o.StopOnError, o.Verify, o.Eject, o.Email};
    for (std::size_t i = 0; i < std::size(kSwitches); ++i) {
        check(kSwitches[i].first, values[i]);
    }
    ::EnableWindow(Control(chkClean), o.CleanEnabled);
    text(txtEmailTo, o.EmailTo);
    ::EnableWindow(Control(txtEmailTo), o.EmailToEnabled);
    m_showing = false;
}

void frmMain::ShowCaption(const std::string& caption) {
    SetWindowText(m_window, caption);
}

void frmMain::FocusOutput() {
    ::SetFocus(Control(txtOutput));
}

MsgAnswer frmMain::Message(const std::string& title, const std::string& text, MsgButtons buttons) {
    return ShowMessageBox(m_window, title, text, buttons);
}

std::string frmMain::FileDialog(ui::FileDialogKind kind, const ui::FileDialogRequest& request) {
    clsComDlg dlg(request, m_window);
    switch (kind) {
    case ui::FileDialogKind::Open:
        return dlg.GetFile();
    case ui::FileDialogKind::Save:
        return dlg.SaveFile();
    case ui::FileDialogKind::Directory:
        break;
    }
    return dlg.GetDirectory();
}

// The run window takes the main window's place until it is closed.
void frmMain::StartRun(clsSetup& setup) {
    RunBackupWindow(m_window, setup, false);
}

void frmMain::MarksChanged() {
    m_tree->MarksChanged();
    m_list->MarksChanged();
}

void frmMain::StatusChanged(const std::string& text) {
    SetWindowText(Control(sbStatus), text);
}

} // namespace tessaron::win
