// What only Linux has of the password file: the group's bits, and files that are not
// regular ones.
#include "TempTree.h"
#include "mail/SecretStore.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace tessaron {
namespace {

TEST(PasswordFile, RefusesAFileItsGroupCanReadAndAFifo) {
    test::TempTree dir;
    const std::string file = dir.Write("pw", "s3cr3t\n");
    chmod(file.c_str(), 0640);
    EXPECT_EQ(ReadPasswordFile(file).Why,
              "The password file " + file +
                  " can be read by other users; allow only its owner to read it (chmod 600)");
    mkfifo(dir.Path("fifo").c_str(), 0600); // refused at once, no writer awaited
    EXPECT_EQ(ReadPasswordFile(dir.Path("fifo")).Why,
              "The password file " + dir.Path("fifo") + " is not a regular file");
}

} // namespace
} // namespace tessaron
