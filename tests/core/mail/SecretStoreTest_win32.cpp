// The Credential Manager keeps one password per server and user.
#include "mail/SecretStore.h"
#include "platform/win32/Win32Support.h"

#include <gtest/gtest.h>

#include <wincred.h>

namespace tessaron {
namespace {

TEST(CredentialManager, KeepsOnePasswordPerServerAndUser) {
    const std::unique_ptr<SecretStore> store = SecretStore::Create();
    const std::string user = "ann" + std::to_string(::GetCurrentProcessId());
    const std::string password = "s3cr3t pass \xC3\xA9";
    EXPECT_EQ(store->Store("smtp.example.org", user, "an older one"), "");
    EXPECT_EQ(store->Store("smtp.example.org", user, password), "");
    const SecretLookup kept = store->Lookup("smtp.example.org", user);
    EXPECT_TRUE(kept.Found);
    EXPECT_EQ(kept.Value, password);
    const SecretLookup none = store->Lookup("smtp.example.net", user);
    EXPECT_FALSE(none.Found);
    EXPECT_EQ(none.Why, "");
    ::CredDeleteW(win32::Widen("Tessaron SMTP/" + user + "@smtp.example.org").c_str(),
                  CRED_TYPE_GENERIC, 0);
}

} // namespace
} // namespace tessaron
