// A program for the tests of the main bundle: prints the path of its main bundle and that bundle's translation of its
// first argument.

#include <cstdio>

#include "files/NSBundle.h"

int main(int argumentCount, char** arguments) {
  if (argumentCount < 2) return 2;
  const zk::Ref<zk::NSBundle> bundle = zk::NSBundle::mainBundle();
  std::puts(bundle->bundleURL()->path()->UTF8String());
  const zk::Ref<zk::NSString> key = zk::NSString::stringWithUTF8String(arguments[1]);
  std::puts(bundle->localizedStringForKey(key, nullptr, nullptr)->UTF8String());
  return 0;
}
