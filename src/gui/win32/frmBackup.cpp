#include "frmBackup.h"

#include "Controls.h"
#include "MessageBoxes.h"
#include "Win32Text.h"

#include "setfile/clsSetup.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace tessaron::win {

namespace {

const wchar_t* const kClassName = L"TessaronBackup";

// How often a run serves the window's messages: often enough for a smooth window and a
// Cancel button that answers at once, rarely enough that a run of many small files spends
// its time copying.
constexpr auto kEventInterval = std::chrono::milliseconds(25);
constexpr UINT_PTR kRefreshTimer = 1;
constexpr UINT kRefreshMs = 500;

constexpr int kGap = 8;       // between controls and at the window's edges
constexpr int kRow = 22;      // one row of labels
constexpr int kBar = 18;      // a progress bar's height
constexpr int kButton = 90;   // the Cancel/Close button's width
constexpr int kValue = 110;   // a value label's width
constexpr int kCaption = 120; // a caption label's width

// The control that shows each text, in the order of ui::RunLabel (0: the window's caption).
constexpr std::array<int, ui::kRunLabelCount> kLabelControls = {
    0,          fraCurrent,        fraOverall,    lblCurrentFile,     lblFiles,
    lblBytes,   lblFilesTrans,     lblBytesTrans, lblFilesTransfered, lblBytesTransfered,
    lblElapsed, lblBytesPerSecond, lblRemaining,  lblResult,          cmdCancel,
};

// The overall frame's grid: a caption and its value in each cell, the values right-aligned
// to a common edge.
struct Cell {
    int row, column;
    int caption;
    const char* text; // "" for a caption the run sets
    int value;
};
constexpr Cell kCells[] = {
    {0, 0, lblFilesCaption, "Total Files", lblFiles},
    {1, 0, lblBytesCaption, "Total Bytes", lblBytes},
    {2, 0, lblElapsedCaption, "Elapsed Time", lblElapsed},
    {0, 1, lblFilesTrans, "", lblFilesTransfered},
    {1, 1, lblBytesTrans, "", lblBytesTransfered},
    {2, 1, lblRateCaption, "Bytes/Second", lblBytesPerSecond},
    {3, 1, lblRemainingCaption, "Time Remaining", lblRemaining},
};

HFONT BoldOf(HFONT font) {
    LOGFONTW lf{};
    ::GetObjectW(font, sizeof lf, &lf);
    lf.lfWeight = FW_BOLD;
    return ::CreateFontIndirectW(&lf);
}

bool IsKey(const MSG& msg, WPARAM key) {
    return msg.message == WM_KEYDOWN && msg.wParam == key;
}

} // namespace

frmBackup::frmBackup() : m_logic(*this) {}

frmBackup::~frmBackup() {
    if (m_window != nullptr) {
        ::DestroyWindow(m_window);
    }
    for (HFONT font : {m_font, m_bold}) {
        if (font != nullptr) {
            ::DeleteObject(font);
        }
    }
}

bool frmBackup::Create(HWND parent) {
    const HINSTANCE instance = ::GetModuleHandleW(nullptr);
    RegisterWindowClass(kClassName, &frmBackup::WindowProc);
    // Its own button on the taskbar: the main window it belongs to is hidden meanwhile.
    m_window = ::CreateWindowExW(WS_EX_APPWINDOW | WS_EX_CONTROLPARENT, kClassName,
                                 Widen(ui::kRunCaption).c_str(), WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                                 CW_USEDEFAULT, 640, 480, parent, nullptr, instance, this);
    if (m_window == nullptr) {
        return false;
    }
    BuildControls();
    m_logic.ShowAll();
    Layout();
    return true;
}

void frmBackup::BuildControls() {
    m_font = MessageFont();
    m_bold = BoldOf(m_font);
    const auto add = [this](const wchar_t* cls, const char* text, DWORD style, int id,
                            DWORD exStyle = 0) {
        return AddChild(m_window, cls, text, style, id, m_font, exStyle);
    };
    add(L"BUTTON", "", BS_GROUPBOX, fraCurrent);
    add(L"STATIC", "", SS_LEFT | SS_NOPREFIX | SS_PATHELLIPSIS, lblCurrentFile);
    add(PROGRESS_CLASSW, "", 0, pbCurrent);
    add(L"BUTTON", "", BS_GROUPBOX, fraOverall);
    for (const Cell& c : kCells) {
        add(L"STATIC", c.text, SS_LEFT | SS_NOPREFIX, c.caption);
        add(L"STATIC", "", SS_RIGHT | SS_NOPREFIX, c.value);
    }
    add(PROGRESS_CLASSW, "", 0, pbOverAll);
    add(L"LISTBOX", "", WS_TABSTOP | WS_VSCROLL | WS_HSCROLL | LBS_NOINTEGRALHEIGHT | LBS_NOTIFY,
        lstLog, WS_EX_CLIENTEDGE);
    HWND result = add(L"STATIC", "", SS_LEFT | SS_NOPREFIX, lblResult);
    ::SendMessageW(result, WM_SETFONT, reinterpret_cast<WPARAM>(m_bold), FALSE);
    add(L"BUTTON", "", WS_TABSTOP | BS_DEFPUSHBUTTON, cmdCancel);
}

// The two frames keep their height at the top, the button row at the bottom, and the log
// list takes the rest.
void frmBackup::Layout() {
    RECT client{};
    ::GetClientRect(m_window, &client);
    const int width = client.right, inner = width - 4 * kGap;
    int y = kGap;
    Place(m_window, fraCurrent, kGap, y, width - 2 * kGap, 20 + kRow + kBar + kGap);
    Place(m_window, lblCurrentFile, 2 * kGap, y + 20, inner, kRow - 4);
    Place(m_window, pbCurrent, 2 * kGap, y + 20 + kRow, inner, kBar);
    y += 20 + kRow + kBar + 2 * kGap;
    LayoutOverall(y, width);
    y += 20 + 4 * kRow + kBar + 2 * kGap;
    const int buttonTop = client.bottom - kGap - 26;
    Place(m_window, lstLog, kGap, y, width - 2 * kGap, buttonTop - kGap - y);
    Place(m_window, lblResult, kGap, buttonTop + 5, width - 3 * kGap - kButton, kRow - 4);
    Place(m_window, cmdCancel, width - kGap - kButton, buttonTop, kButton, 26);
}

void frmBackup::LayoutOverall(int top, int width) {
    Place(m_window, fraOverall, kGap, top, width - 2 * kGap, 20 + 4 * kRow + kBar + kGap);
    const int left = 2 * kGap, right = width - 2 * kGap;
    // The second column's values end at the frame's right edge, the first's half way.
    const int ends[] = {std::max(left + kCaption + kValue, width / 2 - kGap), right};
    for (const Cell& c : kCells) {
        const int y = top + 20 + c.row * kRow;
        const int end = ends[c.column];
        const int captionLeft =
            c.column == 0 ? left : std::max(ends[0] + 2 * kGap, end - 2 * kValue);
        Place(m_window, c.caption, captionLeft, y, kCaption, kRow - 4);
        Place(m_window, c.value, end - kValue, y, kValue, kRow - 4);
    }
    Place(m_window, pbOverAll, left, top + 20 + 4 * kRow, right - left, kBar);
}

bool frmBackup::Run(HWND parent, bool unloadOnExit) {
    if (!m_logic.CanRun() || (m_window == nullptr && !Create(parent))) {
        return false;
    }
    ShowInstead(parent);
    ::SendMessageW(Control(lstLog), LB_RESETCONTENT, 0, 0);
    ::SendMessageW(Control(lstLog), LB_SETHORIZONTALEXTENT, 0, 0);
    m_pending.clear();
    m_widest = 0;
    m_lastEvents = std::chrono::steady_clock::now();
    ::SetTimer(m_window, kRefreshTimer, kRefreshMs, nullptr);
    const bool succeeded = m_logic.Run(unloadOnExit);
    if (m_window != nullptr) {
        ::KillTimer(m_window, kRefreshTimer);
        FlushLog();
    }
    if (m_logic.UnloadWhenRunEnds()) {
        Unload();
    }
    if (m_quit) {
        ::PostQuitMessage(0);
    }
    return succeeded;
}

// Hides the parent and shows this window in its place, centred over it.
void frmBackup::ShowInstead(HWND parent) {
    m_parent = parent;
    m_parentWasVisible = parent != nullptr && ::IsWindowVisible(parent);
    if (m_parentWasVisible) {
        CentreOver(m_window, parent);
        ::ShowWindow(parent, SW_HIDE);
    }
    ::ShowWindow(m_window, SW_SHOWNORMAL);
    ::SetForegroundWindow(m_window);
    ::SetFocus(Control(cmdCancel));
    ::UpdateWindow(m_window);
}

void frmBackup::WaitUntilClosed() {
    MSG msg{};
    while (m_window != nullptr) {
        const BOOL got = ::GetMessageW(&msg, nullptr, 0, 0);
        if (got <= 0) {
            ::PostQuitMessage(got == 0 ? static_cast<int>(msg.wParam) : 0);
            return;
        }
        if (!PreTranslate(msg)) {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
        }
    }
}

// Escape and Enter are the logic's to decide (Enter must not cancel a run, even on the
// focused button); Tab moves between the list and the button.
bool frmBackup::PreTranslate(MSG& msg) {
    if (m_window == nullptr || (msg.hwnd != m_window && !::IsChild(m_window, msg.hwnd))) {
        return false;
    }
    using Key = ui::RunWindowLogic::Key;
    if (IsKey(msg, VK_ESCAPE) || IsKey(msg, VK_RETURN)) {
        if (m_logic.KeyPressesButton(msg.wParam == VK_ESCAPE ? Key::Escape : Key::Enter)) {
            ButtonClicked();
        }
        return true;
    }
    return ::IsDialogMessageW(m_window, &msg) != FALSE;
}

LRESULT CALLBACK frmBackup::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = WindowObject<frmBackup>(window, message, lParam);
    if (self != nullptr && message == WM_NCCREATE) {
        self->m_window = window;
    }
    if (self == nullptr || message == WM_NCDESTROY) {
        if (self != nullptr) {
            self->m_window = nullptr;
            ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        }
        return ::DefWindowProcW(window, message, wParam, lParam);
    }
    return self->OnMessage(message, wParam, lParam);
}

LRESULT frmBackup::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    using Close = ui::RunWindowLogic::CloseRequest;
    switch (message) {
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED && Control(cmdCancel) != nullptr) {
            Layout();
        }
        return 0;
    case WM_GETMINMAXINFO:
        reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {480, 400};
        return 0;
    case WM_COMMAND:
        if (LOWORD(wParam) == cmdCancel && HIWORD(wParam) == BN_CLICKED) {
            ButtonClicked();
        }
        return 0;
    case WM_TIMER:
        if (wParam == kRefreshTimer) {
            m_logic.TimerTick();
        }
        return 0;
    case WM_CLOSE:
        OnClose();
        return 0;
    case WM_QUERYENDSESSION:
        return m_logic.CloseRequested(Close::System) == ui::RunWindowLogic::CloseAction::Refuse
                   ? FALSE
                   : TRUE;
    case WM_DESTROY:
        ShowParent();
        return 0;
    default:
        break;
    }
    return ::DefWindowProcW(m_window, message, wParam, lParam);
}

void frmBackup::ButtonClicked() {
    if (m_logic.ButtonClicked()) {
        Unload();
    }
}

void frmBackup::OnClose() {
    using Close = ui::RunWindowLogic::CloseRequest;
    using Action = ui::RunWindowLogic::CloseAction;
    const Action action = m_logic.CloseRequested(m_unloading ? Close::Program : Close::User);
    if (action == Action::Refuse) {
        return;
    }
    if (action == Action::Hide) {
        // The finished run is still ejecting the medium: the window goes out of sight now
        // and for good when Run returns.
        ::ShowWindow(m_window, SW_HIDE);
        ShowParent();
        return;
    }
    ::KillTimer(m_window, kRefreshTimer);
    ::DestroyWindow(m_window);
}

void frmBackup::Unload() {
    if (m_window == nullptr) {
        return;
    }
    m_unloading = true;
    ::SendMessageW(m_window, WM_CLOSE, 0, 0);
    m_unloading = false;
}

// Only a parent that this window hid is shown again, where it was: a main window that was
// never shown (a run from the command line) stays out of sight.
void frmBackup::ShowParent() {
    if (m_parentWasVisible && ::IsWindow(m_parent) && !::IsWindowVisible(m_parent)) {
        ::ShowWindow(m_parent, SW_SHOW);
        ::SetForegroundWindow(m_parent);
    }
}

// --- What the logic shows ----------------------------------------------------------------

void frmBackup::ShowText(ui::RunLabel which, const std::string& text) {
    const int id = kLabelControls[static_cast<std::size_t>(which)];
    SetWindowText(id == 0 ? m_window : Control(id), text);
}

void frmBackup::ShowBar(ui::RunBar which, int value) {
    ::SendMessageW(Control(which == ui::RunBar::Current ? pbCurrent : pbOverAll), PBM_SETPOS,
                   static_cast<WPARAM>(value), 0);
}

void frmBackup::AddLogLine(const std::string& line) {
    m_pending.push_back(Widen(line));
}

void frmBackup::AppendToLastLogLine(const std::string& text) {
    if (!m_pending.empty()) {
        m_pending.back() += Widen(text);
        return;
    }
    HWND list = Control(lstLog);
    const LRESULT last = ::SendMessageW(list, LB_GETCOUNT, 0, 0) - 1;
    if (last < 0) {
        return;
    }
    std::wstring line(static_cast<std::size_t>(::SendMessageW(list, LB_GETTEXTLEN, last, 0)),
                      L'\0');
    ::SendMessageW(list, LB_GETTEXT, last, reinterpret_cast<LPARAM>(line.data()));
    line += Widen(text);
    ::SendMessageW(list, LB_DELETESTRING, last, 0);
    ::SendMessageW(list, LB_INSERTSTRING, last, reinterpret_cast<LPARAM>(line.c_str()));
    ::SendMessageW(list, LB_SETCURSEL, last, 0);
    FitLogWidth({line});
}

MsgAnswer frmBackup::ShowQuestion(const Question& question) {
    FlushLog(); // the list shows what led to the question
    return ShowMessageBox(m_window, question.Title, question.Text, question.Buttons);
}

void frmBackup::CloseQuestion() {
    CloseMessageBox();
}

void frmBackup::PumpMessages() {
    const auto now = std::chrono::steady_clock::now();
    if (m_window == nullptr || now - m_lastEvents < kEventInterval) {
        return;
    }
    FlushLog();
    MSG msg{};
    while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        if (msg.message == WM_QUIT) {
            // The program is asked to end: the run stops, and the request is passed on
            // once it has.
            m_quit = true;
            m_logic.CloseRequested(ui::RunWindowLogic::CloseRequest::System);
            break;
        }
        if (!PreTranslate(msg)) {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
        }
    }
    m_lastEvents = std::chrono::steady_clock::now();
}

// --- Log list --------------------------------------------------------------------------------

// Adds the lines logged since the last flush and selects the last one, which scrolls it
// into view.
void frmBackup::FlushLog() {
    if (m_pending.empty() || m_window == nullptr) {
        return;
    }
    HWND list = Control(lstLog);
    ::SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    LRESULT last = 0;
    for (const std::wstring& line : m_pending) {
        last = ::SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(line.c_str()));
    }
    FitLogWidth(m_pending);
    m_pending.clear();
    ::SendMessageW(list, LB_SETCURSEL, static_cast<WPARAM>(last), 0);
    ::SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    ::InvalidateRect(list, nullptr, TRUE);
}

// The list's horizontal scroll range reaches the end of its widest line.
void frmBackup::FitLogWidth(const std::vector<std::wstring>& lines) {
    HWND list = Control(lstLog);
    HDC dc = ::GetDC(list);
    HGDIOBJ old = ::SelectObject(dc, m_font);
    int widest = m_widest;
    for (const std::wstring& line : lines) {
        SIZE size{};
        ::GetTextExtentPoint32W(dc, line.c_str(), static_cast<int>(line.size()), &size);
        widest = std::max(widest, static_cast<int>(size.cx) + 2 * kGap);
    }
    ::SelectObject(dc, old);
    ::ReleaseDC(list, dc);
    if (widest > m_widest) {
        m_widest = widest;
        ::SendMessageW(list, LB_SETHORIZONTALEXTENT, static_cast<WPARAM>(m_widest), 0);
    }
}

int RunBackupWindow(HWND mainWindow, clsSetup& setup, bool unloadOnExit) {
    frmBackup window;
    window.Setup(setup);
    if (const char* dir = std::getenv("TESSARON_LOG_DIR"); dir != nullptr && *dir != '\0') {
        window.LogDir(dir);
    }
    window.Run(mainWindow, unloadOnExit);
    window.WaitUntilClosed();
    return ExitStatus(window.Result());
}

} // namespace tessaron::win
