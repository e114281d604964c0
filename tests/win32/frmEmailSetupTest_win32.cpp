// The native Email Setup dialog over the registry: what is typed is stored as typed on OK,
// nothing on Cancel. The dialog is modal: a timer types into it and presses the button
// from inside its own message loop, as a user would.
#include "TestNames.h"
#include "Win32Text.h"
#include "frmEmailSetup.h"

#include "mail/clsRegSettings.h"

#include <gtest/gtest.h>

namespace tessaron::win {
namespace {

struct DialogCase {
    const char* name;
    int button; // IDOK or IDCANCEL
    const char* stored;
};

const DialogCase kDialogCases[] = {{"OkStoresWhatWasTyped", IDOK, " smtp.example.org "},
                                   {"CancelStoresNothing", IDCANCEL, "old.example.org"}};

class NativeEmailSetup : public ::testing::TestWithParam<DialogCase> {
protected:
    void SetUp() override {
        // A key of the test's own, so that the user's settings in the prefix stay.
        settings.Company("VELQO-Test");
        settings.DeleteSetting("Settings", "");
        settings.SaveSetting("Settings", "SMTPServer", "old.example.org");
        s_button = GetParam().button;
    }
    void TearDown() override { settings.DeleteSetting("Settings", ""); }
    static void CALLBACK TypeAndPress(HWND, UINT, UINT_PTR id, DWORD) {
        HWND dialog = ::FindWindowW(L"#32770", L"Email Setup");
        if (dialog == nullptr) {
            return;
        }
        ::KillTimer(nullptr, id);
        s_shown = WindowText(::GetDlgItem(dialog, txtSMTPServer));
        SetWindowText(::GetDlgItem(dialog, txtSMTPServer), " smtp.example.org ");
        SetWindowText(::GetDlgItem(dialog, txtEmailFrom), "ann@example.org");
        ::PostMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(s_button), 0);
    }

    clsRegSettings settings;
    static inline int s_button = IDOK;
    static inline std::string s_shown;
};

TEST_P(NativeEmailSetup, StoresOnlyOnOk) {
    ::SetTimer(nullptr, 0, 10, &NativeEmailSetup::TypeAndPress);
    frmEmailSetup dialog(settings);
    EXPECT_EQ(dialog.Show(nullptr), GetParam().button);
    EXPECT_EQ(s_shown, "old.example.org") << "the dialog shows what is stored";
    EXPECT_EQ(settings.GetSetting("Settings", "SMTPServer", "?"), GetParam().stored);
    EXPECT_EQ(settings.GetSetting("Settings", "EmailFrom", "?"),
              GetParam().button == IDOK ? "ann@example.org" : "?");
}

INSTANTIATE_TEST_SUITE_P(Native, NativeEmailSetup, ::testing::ValuesIn(kDialogCases),
                         test::ParamName());

} // namespace
} // namespace tessaron::win
