#include "darwin/FoundFunctions.h"

#include <dlfcn.h>

#include <string>

namespace zk::darwin {

namespace {

/// A library of the system's.
class Library {
 public:
  explicit Library(const std::string& path) : handle_(::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL)) {}

  /// Sets `place` to the address of a call or a constant; to null if it is missing.
  /// @return whether it was found
  template <class Pointer>
  bool find(const char* name, Pointer& place) const {
    place = handle_ == nullptr ? nullptr : reinterpret_cast<Pointer>(::dlsym(handle_, name));
    return place != nullptr;
  }

 private:
  void* handle_;
};

Library framework(const std::string& name) {
  return Library("/System/Library/Frameworks/" + name + ".framework/" + name);
}

bool findAll(CoreFoundationFunctions& found) {
  const Library library = framework("CoreFoundation");
  return library.find("CFRelease", found.CFRelease) && library.find("CFGetTypeID", found.CFGetTypeID) &&
         library.find("CFStringGetTypeID", found.CFStringGetTypeID) &&
         library.find("CFStringCreateWithBytes", found.CFStringCreateWithBytes) &&
         library.find("CFStringGetLength", found.CFStringGetLength) &&
         library.find("CFStringGetMaximumSizeForEncoding", found.CFStringGetMaximumSizeForEncoding) &&
         library.find("CFStringGetCString", found.CFStringGetCString) &&
         library.find("CFStringGetMaximumSizeOfFileSystemRepresentation",
                      found.CFStringGetMaximumSizeOfFileSystemRepresentation) &&
         library.find("CFStringGetFileSystemRepresentation", found.CFStringGetFileSystemRepresentation) &&
         library.find("CFArrayGetCount", found.CFArrayGetCount) &&
         library.find("CFArrayGetValueAtIndex", found.CFArrayGetValueAtIndex) &&
         library.find("CFArrayCreate", found.CFArrayCreate) &&
         library.find("CFDictionaryGetValue", found.CFDictionaryGetValue) &&
         library.find("CFDictionaryCreate", found.CFDictionaryCreate) &&
         library.find("CFURLCreateFromFileSystemRepresentation", found.CFURLCreateFromFileSystemRepresentation) &&
         library.find("CFLocaleCopyPreferredLanguages", found.CFLocaleCopyPreferredLanguages) &&
         library.find("kCFTypeArrayCallBacks", found.kCFTypeArrayCallBacks) &&
         library.find("kCFTypeDictionaryKeyCallBacks", found.kCFTypeDictionaryKeyCallBacks) &&
         library.find("kCFTypeDictionaryValueCallBacks", found.kCFTypeDictionaryValueCallBacks);
}

bool findAll(ObjectiveCFunctions& found) {
  const Library library("/usr/lib/libobjc.A.dylib");
  return library.find("objc_getClass", found.objc_getClass) &&
         library.find("sel_registerName", found.sel_registerName) &&
         library.find("class_getClassMethod", found.class_getClassMethod) &&
         library.find("class_getInstanceMethod", found.class_getInstanceMethod) &&
         library.find("method_getImplementation", found.method_getImplementation) &&
         library.find("objc_autoreleasePoolPush", found.objc_autoreleasePoolPush) &&
         library.find("objc_autoreleasePoolPop", found.objc_autoreleasePoolPop) &&
         framework("AppKit").find("NSWorkspaceLaunchConfigurationArguments",
                                  found.NSWorkspaceLaunchConfigurationArguments);
}

template <class Functions>
const Functions* allOrNone() {
  static Functions found{};
  static const bool isComplete = findAll(found);
  return isComplete ? &found : nullptr;
}

ProcessManagerFunctions findProcessManager() {
  const Library library = framework("ApplicationServices");
  ProcessManagerFunctions found{};
  library.find("GetProcessForPID", found.GetProcessForPID);
  library.find("ProcessInformationCopyDictionary", found.ProcessInformationCopyDictionary);
  library.find("GetProcessInformation", found.GetProcessInformation);
  return found;
}

StatusCommentFunction findStatusComment() {
  StatusCommentFunction found = nullptr;
  framework("CoreServices").find("GetMacOSStatusCommentString", found);
  return found;
}

}  // namespace

const CoreFoundationFunctions* coreFoundation() { return allOrNone<CoreFoundationFunctions>(); }

const ObjectiveCFunctions* objectiveC() { return allOrNone<ObjectiveCFunctions>(); }

const ProcessManagerFunctions& processManager() {
  static const ProcessManagerFunctions found = findProcessManager();
  return found;
}

StatusCommentFunction statusCommentFunction() {
  static const StatusCommentFunction found = findStatusComment();
  return found;
}

}  // namespace zk::darwin
