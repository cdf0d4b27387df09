// Compares platform/darwin/Declarations.h with the headers of the macOS SDK. It compiles if they agree.

#include "darwin/Declarations.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#include <objc/runtime.h>
#include <sys/xattr.h>

#include <cstddef>
#include <type_traits>

namespace zk::darwin {

/// Whether a caller that passes or expects the one type is understood by who expects or passes the other.
template <class One, class Other>
constexpr bool agree() {
  if constexpr (std::is_void_v<One> || std::is_void_v<Other>) {
    return std::is_void_v<One> && std::is_void_v<Other>;
  } else {
    return sizeof(One) == sizeof(Other) && std::is_pointer_v<One> == std::is_pointer_v<Other> &&
           (std::is_pointer_v<One> || std::is_signed_v<One> == std::is_signed_v<Other>);
  }
}

/// Whether a function can be called through a pointer to the other.
template <class Result, class... Arguments, class OtherResult, class... OtherArguments>
constexpr bool agree(Result (*)(Arguments...), OtherResult (*)(OtherArguments...)) {
  if constexpr (sizeof...(Arguments) != sizeof...(OtherArguments)) {
    return false;
  } else {
    return agree<Result, OtherResult>() && (agree<Arguments, OtherArguments>() && ...);
  }
}

#define ZK_AGREES(Functions, name) \
  static_assert(agree(static_cast<decltype(&::name)>(nullptr), decltype(Functions::name)(nullptr)))

ZK_AGREES(CoreFoundationFunctions, CFRelease);
ZK_AGREES(CoreFoundationFunctions, CFGetTypeID);
ZK_AGREES(CoreFoundationFunctions, CFStringGetTypeID);
ZK_AGREES(CoreFoundationFunctions, CFStringCreateWithBytes);
ZK_AGREES(CoreFoundationFunctions, CFStringGetLength);
ZK_AGREES(CoreFoundationFunctions, CFStringGetMaximumSizeForEncoding);
ZK_AGREES(CoreFoundationFunctions, CFStringGetCString);
ZK_AGREES(CoreFoundationFunctions, CFStringGetMaximumSizeOfFileSystemRepresentation);
ZK_AGREES(CoreFoundationFunctions, CFStringGetFileSystemRepresentation);
ZK_AGREES(CoreFoundationFunctions, CFArrayGetCount);
ZK_AGREES(CoreFoundationFunctions, CFArrayGetValueAtIndex);
ZK_AGREES(CoreFoundationFunctions, CFArrayCreate);
ZK_AGREES(CoreFoundationFunctions, CFDictionaryGetValue);
ZK_AGREES(CoreFoundationFunctions, CFDictionaryCreate);
ZK_AGREES(CoreFoundationFunctions, CFURLCreateFromFileSystemRepresentation);
ZK_AGREES(CoreFoundationFunctions, CFLocaleCopyPreferredLanguages);
static_assert(kUTF8 == kCFStringEncodingUTF8);

ZK_AGREES(ProcessManagerFunctions, GetProcessForPID);
ZK_AGREES(ProcessManagerFunctions, ProcessInformationCopyDictionary);
ZK_AGREES(ProcessManagerFunctions, GetProcessInformation);
static_assert(agree(&::GetMacOSStatusCommentString, StatusCommentFunction(nullptr)));
static_assert(sizeof(SerialNumber) == sizeof(::ProcessSerialNumber));
static_assert(sizeof(InfoRecord) == sizeof(::ProcessInfoRec));
static_assert(offsetof(InfoRecord, processName) == offsetof(::ProcessInfoRec, processName));
static_assert(offsetof(InfoRecord, processLaunchDate) == offsetof(::ProcessInfoRec, processLaunchDate));
static_assert(offsetof(InfoRecord, processAppRef) == offsetof(::ProcessInfoRec, processAppRef));

ZK_AGREES(ObjectiveCFunctions, objc_getClass);
ZK_AGREES(ObjectiveCFunctions, sel_registerName);
ZK_AGREES(ObjectiveCFunctions, class_getClassMethod);
ZK_AGREES(ObjectiveCFunctions, class_getInstanceMethod);
ZK_AGREES(ObjectiveCFunctions, method_getImplementation);

}  // namespace zk::darwin

int main() {}
