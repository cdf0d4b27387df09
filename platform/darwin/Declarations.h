#pragma once

#include <cstddef>
#include <cstdint>

// Everything of macOS that this folder calls without a header of the system: types and calls of frameworks that are
// found at run time, and calls of the system library whose header a cross compiler lacks. Each has its source. None of
// it has been compared with a header of Apple's SDK; docs/macos.md tells how to do that.

// sys/xattr.h. Source: the manual pages getxattr(2), setxattr(2) and listxattr(2).
extern "C" {
long flistxattr(int file, char* names, std::size_t size, int options);
long fgetxattr(int file, const char* name, void* value, std::size_t size, std::uint32_t position, int options);
int fsetxattr(int file, const char* name, const void* value, std::size_t size, std::uint32_t position, int options);
}

namespace zk::darwin {

/// Any object of Core Foundation or Objective-C.
using Object = const void*;

/// CFStringEncoding kCFStringEncodingUTF8. Source: documentation of CFString.
inline constexpr std::uint32_t kUTF8 = 0x08000100;

/// Calls and constants of CoreFoundation. Boolean is an unsigned char, CFIndex a long, CFTypeID an unsigned long.
/// Source: documentation of CFString, CFArray, CFDictionary, CFURL and CFLocale. A call with "Create" or "Copy" in its
/// name hands out an object that the caller has to release; one with "Get" does not.
struct CoreFoundationFunctions {
  void (*CFRelease)(Object object);
  unsigned long (*CFGetTypeID)(Object object);
  unsigned long (*CFStringGetTypeID)();
  Object (*CFStringCreateWithBytes)(Object allocator, const unsigned char* bytes, long count, std::uint32_t encoding,
                                    unsigned char isExternal);
  long (*CFStringGetLength)(Object text);
  long (*CFStringGetMaximumSizeForEncoding)(long length, std::uint32_t encoding);
  unsigned char (*CFStringGetCString)(Object text, char* buffer, long size, std::uint32_t encoding);
  long (*CFStringGetMaximumSizeOfFileSystemRepresentation)(Object text);
  unsigned char (*CFStringGetFileSystemRepresentation)(Object text, char* buffer, long size);
  long (*CFArrayGetCount)(Object array);
  Object (*CFArrayGetValueAtIndex)(Object array, long index);
  Object (*CFArrayCreate)(Object allocator, const Object* values, long count, const void* callBacks);
  Object (*CFDictionaryGetValue)(Object dictionary, Object key);
  Object (*CFDictionaryCreate)(Object allocator, const Object* keys, const Object* values, long count,
                               const void* keyCallBacks, const void* valueCallBacks);
  Object (*CFURLCreateFromFileSystemRepresentation)(Object allocator, const unsigned char* path, long size,
                                                    unsigned char isDirectory);
  Object (*CFLocaleCopyPreferredLanguages)();
  const void* kCFTypeArrayCallBacks;
  const void* kCFTypeDictionaryKeyCallBacks;
  const void* kCFTypeDictionaryValueCallBacks;
};

/// How the process manager names a process: two unsigned 32-bit numbers. Source: documentation of ProcessSerialNumber.
struct SerialNumber {
  std::uint32_t high;
  std::uint32_t low;
};

/// The process manager's ProcessInfoRec for 64-bit programs: packed to 2 bytes, 72 bytes long. Source: the order and
/// the types of the fields are in the documentation of ProcessInfoRec; the packing is that of the framework's headers
/// of that age, and the length follows from both. If either is wrong, the call refuses the record by its length.
#pragma pack(push, 2)
struct InfoRecord {
  std::uint32_t processInfoLength;  ///< set by the caller
  void* processName;                ///< null: not asked for
  SerialNumber processNumber;
  std::uint32_t processType;
  std::uint32_t processSignature;
  std::uint32_t processMode;
  void* processLocation;
  std::uint32_t processSize;
  std::uint32_t processFreeMem;
  SerialNumber processLauncher;
  std::uint32_t processLaunchDate;
  std::uint32_t processActiveTime;
  void* processAppRef;  ///< null: not asked for
};
#pragma pack(pop)
static_assert(sizeof(InfoRecord) == 72);
static_assert(offsetof(InfoRecord, processLaunchDate) == 56);

/// Calls of the process manager, deprecated since macOS 10.9. Each is null if it is gone. Source: documentation of
/// GetProcessForPID (OSStatus, 32 bits), ProcessInformationCopyDictionary and GetProcessInformation (OSErr, 16 bits).
struct ProcessManagerFunctions {
  std::int32_t (*GetProcessForPID)(std::int32_t pid, SerialNumber* process);
  Object (*ProcessInformationCopyDictionary)(const SerialNumber* process, std::uint32_t mask);
  std::int16_t (*GetProcessInformation)(const SerialNumber* process, InfoRecord* information);
};

/// GetMacOSStatusCommentString of CarbonCore: the text is the system's own. Source: its documentation.
using StatusCommentFunction = const char* (*)(std::int32_t status);

/// Calls of the Objective-C runtime, and what is needed of AppKit. Source: documentation of the Objective-C runtime; for
/// the two calls on pools, the description of automatic reference counting in clang's documentation. A method's
/// implementation is a function whose first arguments are the receiver and the selector.
struct ObjectiveCFunctions {
  Object (*objc_getClass)(const char* name);
  Object (*sel_registerName)(const char* name);
  Object (*class_getClassMethod)(Object receiver, Object selector);
  Object (*class_getInstanceMethod)(Object receiver, Object selector);
  void (*(*method_getImplementation)(Object method))();
  void* (*objc_autoreleasePoolPush)();
  void (*objc_autoreleasePoolPop)(void* pool);
  /// The address of AppKit's constant.
  const Object* NSWorkspaceLaunchConfigurationArguments;
};

/// NSWorkspace's methods `sharedWorkspace` and `launchApplicationAtURL:options:configuration:error:`, the latter
/// deprecated since macOS 11. Source: documentation of NSWorkspace; NSUInteger is an unsigned long.
using SharedWorkspaceMethod = Object (*)(Object receiver, Object selector);
using LaunchMethod = Object (*)(Object receiver, Object selector, Object url, unsigned long options,
                                Object configuration, Object* error);

}  // namespace zk::darwin
