#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>

#include "FileItems.h"
#include "support/System.h"
#include "support/TreeDescription.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kAccessACL = "system.posix_acl_access";
/// The position of the permissions of the first entry, the owner's, in an ACL's bytes.
constexpr std::size_t kOwnersPermissions = 6;
constexpr const char* kDefaultACL = "system.posix_acl_default";

/// Extended attributes and ACLs as only Linux has them.
class CopyMetadataOnLinux : public ::testing::Test {
 protected:
  void copy() {
    const Outcome outcome = copyItem(folder / "from", folder / "to");
    EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
  }

  TemporaryFolder folder;
};

fs::path itemBelow(const fs::path& top, const std::string& path) { return path.empty() ? top : top / path; }

TEST_F(CopyMetadataOnLinux, KeepsExtendedAttributesOfAFIFO) {
  ASSERT_EQ(::mkfifo((folder / "from").c_str(), 0600), 0);
  if (!setAttribute(folder / "from", "trusted.note", "of the FIFO")) GTEST_SKIP() << "only root may set these";
  copy();
  EXPECT_EQ(attributeOf(folder / "to", "trusted.note"), "of the FIFO");
}

TEST_F(CopyMetadataOnLinux, KeepsCapabilitiesOfAProgramThatBelongsToSomeoneElse) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may set these";
  // Revision 2, permitted: CAP_NET_BIND_SERVICE.
  const std::string capability("\x00\x00\x00\x02\x00\x04\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00", 20);
  writeFile(folder / "from", "x");
  ASSERT_EQ(::chown((folder / "from").c_str(), 1234, 5678), 0);
  setMode(folder / "from", 0755);
  ASSERT_TRUE(setAttribute(folder / "from", "security.capability", capability));
  copy();
  EXPECT_EQ(attributeOf(folder / "to", "security.capability"), capability);
  EXPECT_EQ(statusOf(folder / "to").st_uid, 1234u);
}

TEST_F(CopyMetadataOnLinux, KeepsACLs) {
  writeFile(folder / "from/file", "x");
  ASSERT_EQ(::mkfifo((folder / "from/fifo").c_str(), 0600), 0);
  if (!setAttribute(folder / "from/file", kAccessACL, accessListBytes(6))) GTEST_SKIP() << "no ACLs here";
  ASSERT_TRUE(setAttribute(folder / "from/fifo", kAccessACL, accessListBytes(4)));
  ASSERT_TRUE(setAttribute(folder / "from", kAccessACL, accessListBytes(5)));
  ASSERT_TRUE(setAttribute(folder / "from", kDefaultACL, accessListBytes(7)));
  copy();
  EXPECT_EQ(attributeOf(folder / "to/file", kAccessACL), accessListBytes(6));
  EXPECT_EQ(attributeOf(folder / "to/fifo", kAccessACL), accessListBytes(4));
  EXPECT_EQ(attributeOf(folder / "to", kAccessACL), accessListBytes(5));
  EXPECT_EQ(attributeOf(folder / "to", kDefaultACL), accessListBytes(7));
  EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from"));
}

TEST_F(CopyMetadataOnLinux, KeepsAttributesOfAFileWhoseACLKeepsItsOwnerFromWriting) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 writeFile(folder / "from", "x");
                                 EXPECT_TRUE(setAttribute(folder / "from", "user.note", "kept"));
                                 std::string readOnly = accessListBytes(6);
                                 readOnly[kOwnersPermissions] = 4;
                                 EXPECT_TRUE(setAttribute(folder / "from", kAccessACL, readOnly));
                                 copy();
                                 EXPECT_EQ(attributeOf(folder / "to", "user.note"), "kept");
                                 EXPECT_EQ(attributeOf(folder / "to", kAccessACL), readOnly);
                               }),
            0);
}

TEST_F(CopyMetadataOnLinux, InheritsNoACLAndNoModeBitFromTheDestinationsFolder) {
  writeFile(folder / "from/inner/file", "x");
  ASSERT_EQ(::mkfifo((folder / "from/fifo").c_str(), 0644), 0);
  setMode(folder / "from/inner/file", 0664);
  fs::create_directory(folder / "parent");
  // Its owner's entry keeps everyone out of new items except others.
  std::string closed = accessListBytes(7);
  closed[kOwnersPermissions] = 0;
  if (!setAttribute(folder / "parent", kDefaultACL, closed)) GTEST_SKIP() << "no ACLs here";
  setMode(folder / "parent", 02777);
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 for (const char* name : {"from", "from/inner/file", "from/fifo"}) {
                                   const Outcome outcome = copyItem(folder / name, folder / "parent/to");
                                   EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
                                   for (const auto& [path, text] : describeTree(folder / "parent/to")) {
                                     EXPECT_EQ(text.find("acl"), std::string::npos) << path << ": " << text;
                                     EXPECT_EQ(modeOf(itemBelow(folder / "parent/to", path)),
                                               modeOf(itemBelow(folder / name, path)));
                                   }
                                   EXPECT_TRUE(removeItem(folder / "parent/to").succeeded);
                                 }
                               }),
            0);
}

TEST_F(CopyMetadataOnLinux, LeavesOutAttributesThatTheUserMayNotSet) {
  writeFile(folder / "from", "x");
  if (!setAttribute(folder / "from", "security.note", "root's")) GTEST_SKIP() << "only root may set these";
  ASSERT_TRUE(setAttribute(folder / "from", "user.note", "anyone's"));
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 copy();
                                 EXPECT_EQ(attributeOf(folder / "to", "security.note"), std::nullopt);
                                 EXPECT_EQ(attributeOf(folder / "to", "user.note"), "anyone's");
                               }),
            0);
}

}  // namespace
}  // namespace zk::test
