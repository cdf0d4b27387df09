#include "process/System.h"

#include "process/OperatingSystem.h"

namespace zk {

const Ref<NSString> ZKBundlePathKey = "BundlePath"_ns;
const Ref<NSString> kCFBundleIdentifierKey = "CFBundleIdentifier"_ns;
const Ref<NSString> kCFBundleExecutableKey = "CFBundleExecutable"_ns;
const Ref<NSString> ZKBundleMayChangeKey = "ZKBundleMayChange"_ns;

namespace {
System* systemInPlace = nullptr;
}

System& System::current() { return systemInPlace != nullptr ? *systemInPlace : operatingSystem(); }

System::Scope::Scope(System& system) : previous_(systemInPlace) { systemInPlace = &system; }

System::Scope::~Scope() { systemInPlace = previous_; }

}  // namespace zk
