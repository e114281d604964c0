#include "frmEmailSetup.h"

#include "MessageBoxes.h"
#include "Win32Text.h"

#include "ui/EmailSetup.h"

#include <commctrl.h>

#include <algorithm>

namespace tessaron::win {

namespace {

// The box's entries in the order of MailSecurity.
const MailSecurity kSecurities[] = {MailSecurity::None, MailSecurity::StartTls, MailSecurity::Tls};
const wchar_t* const kSecurityTexts[] = {L"None", L"STARTTLS", L"SSL/TLS"};

// The rows of the form: label, box, and the box's width in dialog units.
struct Row {
    const char* label;
    int id;
    int width;
};
constexpr Row kRows[] = {
    {"SMTP &Server:", txtSMTPServer, 180}, {"Email &From:", txtEmailFrom, 180},
    {"&Port:", txtSMTPPort, 40},           {"Se&curity:", cboSecurity, 70},
    {"&User Name:", txtSMTPUser, 180},     {"Pass&word:", txtSMTPPassword, 180},
    {"&Test Mail To:", txtTestTo, 120}};

constexpr int kLeft = 7, kLabel = 56, kRowHeight = 18, kWidth = 254;

MailSecurity SecurityOf(HWND box) {
    const auto index = ::SendMessageW(box, CB_GETCURSEL, 0, 0);
    return kSecurities[std::clamp<LRESULT>(index, 0, 2)];
}

} // namespace

frmEmailSetup::frmEmailSetup(clsRegSettings& settings, SecretStore* secrets)
    : m_setup(std::make_unique<EmailSetup>(settings, secrets)) {}

frmEmailSetup::~frmEmailSetup() = default;

INT_PTR frmEmailSetup::Show(HWND owner) {
    return ModalDialog::Show(owner, EmailSetup::kTitle, kWidth,
                             kLeft + static_cast<int>(std::size(kRows)) * kRowHeight + 24);
}

void frmEmailSetup::OnInit() {
    const EmailSetupValues v = m_setup->Load();
    const std::string texts[] = {v.Server, v.From, v.Port, "", v.User, "", ""};
    int y = kLeft;
    for (std::size_t i = 0; i < std::size(kRows); ++i, y += kRowHeight) {
        const Row& row = kRows[i];
        Add(L"STATIC", row.label, SS_LEFT, -1, kLeft, y + 2, kLabel, 10);
        const int x = kLeft + kLabel;
        if (row.id == cboSecurity) {
            HWND box =
                Add(L"COMBOBOX", "", WS_TABSTOP | CBS_DROPDOWNLIST, row.id, x, y, row.width, 60);
            for (const wchar_t* text : kSecurityTexts) {
                ::SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
            }
            ::SendMessageW(box, CB_SETCURSEL, static_cast<WPARAM>(v.Security), 0);
            continue;
        }
        const DWORD style = row.id == txtSMTPPassword ? ES_PASSWORD : 0;
        Add(L"EDIT", texts[i], WS_TABSTOP | ES_AUTOHSCROLL | style, row.id, x, y, row.width, 13,
            WS_EX_CLIENTEDGE);
    }
    const int testTop = y - kRowHeight;
    Add(L"BUTTON", "Send Test &Mail", WS_TABSTOP | BS_PUSHBUTTON, cmdTestMail, kLeft + kLabel + 124,
        testTop - 1, 56, 15);
    Add(L"BUTTON", "OK", WS_TABSTOP | BS_DEFPUSHBUTTON, IDOK, kWidth - 2 * 50 - 2 * kLeft + 3,
        y + 4, 50, 14);
    Add(L"BUTTON", "Cancel", WS_TABSTOP | BS_PUSHBUTTON, IDCANCEL, kWidth - 50 - kLeft, y + 4, 50,
        14);
    // Left empty, the kept password stays: the box says so until something is typed.
    ::SendMessageW(Control(txtSMTPPassword), EM_SETCUEBANNER, TRUE,
                   reinterpret_cast<LPARAM>(L"(unchanged when left empty)"));
}

bool frmEmailSetup::OnCommand(int id, int code) {
    switch (id) {
    case IDOK:
        cmdOK_Click();
        return true;
    case cmdTestMail:
        cmdTestMail_Click();
        return true;
    case cboSecurity:
        if (code == CBN_SELCHANGE) {
            const std::string port = EmailSetup::PortFor(SecurityOf(Control(cboSecurity)),
                                                         WindowText(Control(txtSMTPPort)));
            SetWindowText(Control(txtSMTPPort), port);
        }
        return true;
    default:
        return false;
    }
}

EmailSetupValues frmEmailSetup::Values() const {
    EmailSetupValues v;
    v.Server = WindowText(Control(txtSMTPServer));
    v.From = WindowText(Control(txtEmailFrom));
    v.Port = WindowText(Control(txtSMTPPort));
    v.Security = SecurityOf(Control(cboSecurity));
    v.User = WindowText(Control(txtSMTPUser));
    v.Password = WindowText(Control(txtSMTPPassword));
    return v;
}

void frmEmailSetup::cmdOK_Click() {
    const EmailSetupOutcome saved = m_setup->Save(Values());
    if (!saved.Text.empty()) {
        ShowMessageBox(Handle(), EmailSetup::kTitle, saved.Text, MsgButtons::OK);
    }
    End(IDOK);
}

// The dialog keeps painting while the mail waits, but takes no input until it is done.
void frmEmailSetup::cmdTestMail_Click() {
    ::EnableWindow(Handle(), FALSE);
    HCURSOR old = ::SetCursor(::LoadCursorW(nullptr, IDC_WAIT));
    const EmailSetupOutcome sent =
        m_setup->SendTestMail(Values(), WindowText(Control(txtTestTo)), [] {
            MSG msg{};
            while (::PeekMessageW(&msg, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE) ||
                   ::PeekMessageW(&msg, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE)) {
                ::DispatchMessageW(&msg);
            }
        });
    ::SetCursor(old);
    ::EnableWindow(Handle(), TRUE);
    ShowMessageBox(Handle(), EmailSetup::kTitle, sent.Text, MsgButtons::OK);
}

} // namespace tessaron::win
