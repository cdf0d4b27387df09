#include "system/System.h"

#include <gtest/gtest.h>

#include "support/ForwardingSystem.h"

namespace zk::test {

namespace {

TEST(System, IsTheOneInTheInnermostScope) {
  System& real = System::current();
  {
    ForwardingSystem outer;
    const System::Scope outerScope(outer);
    EXPECT_EQ(&System::current(), &outer);
    {
      ForwardingSystem inner;
      const System::Scope innerScope(inner);
      EXPECT_EQ(&System::current(), &inner);
    }
    EXPECT_EQ(&System::current(), &outer);
  }
  EXPECT_EQ(&System::current(), &real);
}

TEST(System, IsReachedThroughAForwardingSystem) {
  ForwardingSystem wrapper;
  const System::Scope scope(wrapper);
  ProcessSerialNumber process;
  EXPECT_EQ(System::current().GetProcessForPID(System::current().getpid(), process), noErr);
  EXPECT_EQ(process.pid, System::current().getpid());
  EXPECT_TRUE(System::current().ProcessInformationCopyDictionary(process, 0));
  EXPECT_TRUE(System::current().makeFileManager());
  EXPECT_EQ(System::current().sem_close(ZKSEM_FAILED), -1);
}

TEST(System, TakesTheBytesOfATextForItsFileName) {
  const Ref<NSString> text = NSString::stringWithBytes("\xFF\u20AC");
  EXPECT_EQ(fileSystemRepresentation(text), text->bytes());
  EXPECT_EQ(fileSystemRepresentation(nullptr), "");
}

}  // namespace

}  // namespace zk::test
