#include "Application.h"

#include "files/BundleSearch.h"
#include "system/System.h"
#include "text/Formatting.h"

namespace zk {

namespace {

std::uint64_t hashOf(const std::string& bytes) {
  constexpr std::uint64_t kOffset = 0xcbf29ce484222325;
  constexpr std::uint64_t kPrime = 0x100000001b3;
  std::uint64_t hash = kOffset;
  for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * kPrime;
  return hash;
}

}  // namespace

Ref<NSBundle> applicationBundle() {
  System& system = System::current();
  ProcessSerialNumber process;
  if (system.GetProcessForPID(system.getpid(), process) != noErr) return nullptr;
  const Ref<NSDictionary> information =
      system.ProcessInformationCopyDictionary(process, kProcessDictionaryIncludeAllInformationMask);
  if (!information) return nullptr;
  const Ref<NSString> path = asString(information->objectForKey(ZKBundlePathKey));
  const Ref<NSBundle> bundle = NSBundle::bundleWithURL(NSURL::fileURLWithPath(path));
  return bundle && length(bundle->bundleIdentifier()) > 0 ? bundle : nullptr;
}

Ref<NSURL> updateFor(const NSBundle& application, const Ref<NSURL>& updateFolder) {
  return bundleInFolder(updateFolder, application.bundleURL()->lastPathComponent(), application.bundleIdentifier());
}

std::filesystem::path pathOf(const Ref<NSURL>& url) { return fileSystemRepresentation(url->path()); }

Ref<NSURL> urlOf(const std::filesystem::path& path) {
  return NSURL::fileURLWithPath(NSString::stringWithBytes(path.string()));
}

Ref<NSString> shownVersionOf(const NSBundle& bundle) {
  const Ref<NSString> text = bundle.infoText("CFBundleShortVersionString"_ns);
  return length(text) > 0 ? text : bundle.infoText("CFBundleVersion"_ns);
}

std::string updateSemaphoreNameFor(const Ref<NSURL>& bundle) {
  return stringWithFormat("zk-update-%016llx"_ns, hashOf(bundle->path()->bytes()))->bytes();
}

}  // namespace zk
