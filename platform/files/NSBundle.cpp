#include "files/NSBundle.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "files/Localization.h"
#include "files/NSDataFiles.h"
#include "objects/NeverDestroyed.h"
#include "objects/Path.h"
#include "plist/NSPropertyListSerialization.h"
#include "system/ErrorNumbers.h"
#include "system/Port.h"
#include "system/System.h"
#include "text/Characters.h"

namespace zk {

/// The paths of a bundle's parts inside it.
struct BundleLayout {
  const char* info;
  const char* executables;
  const char* resources;
};

namespace {

namespace fs = std::filesystem;

/// In the order in which they are tried.
constexpr std::array<BundleLayout, 3> kLayouts = {{
    {"Contents/Info.plist", "Contents/MacOS", "Contents/Resources"},
    {"Resources/Info.plist", "", "Resources"},
    {"Info.plist", "", ""},
}};
/// The largest files that are read, in bytes. A larger one is a mistake or an attack.
constexpr std::size_t kLargestInfo = std::size_t{1} << 20;
constexpr std::size_t kLargestTranslations = std::size_t{4} << 20;

/// Whether a folder, judging by its name, is only the inside of a bundle, even if it holds an Info.plist.
bool isInside(const fs::path& folder) { return folder.filename() == "Contents" || folder.filename() == "Resources"; }

/// The layout whose Info.plist is a regular file in `folder`, links followed; null if there is none.
const BundleLayout* layoutOf(const fs::path& folder) {
  if (isInside(folder)) return nullptr;
  for (const BundleLayout& layout : kLayouts) {
    std::error_code error;
    if (fs::is_regular_file(folder / layout.info, error)) return &layout;
  }
  return nullptr;
}

fs::path folderPath(const Ref<NSURL>& url) { return fileSystemRepresentation(url->path()); }

/// The dictionary in a property-list file of at most `mostBytes`; an empty one if there is none.
Ref<NSDictionary> dictionaryInFile(const fs::path& path, std::size_t mostBytes) {
  const Ref<NSData> data = dataWithContentsOfURL(std::make_shared<NSURL>(path.string()), mostBytes);
  const Ref<NSDictionary> dictionary =
      data ? asDictionary(NSPropertyListSerialization::propertyListWithData(data)) : nullptr;
  return dictionary ? dictionary : std::make_shared<NSDictionary>();
}

/// Whether a relative path leads to something inside the folder that it starts from, ignoring links.
bool staysInside(const std::string& text) {
  const fs::path path = fs::path(text).lexically_normal();
  const bool isWhole = text.find('\0') == std::string::npos;
  const bool namesItem = !path.empty() && path != ".";
  return isWhole && namesItem && path.is_relative() && *path.begin() != "..";
}

/// The folder for one kind of a bundle's parts; a plain folder keeps them all at its top.
const char* partOf(const BundleLayout* layout, const char* BundleLayout::*part) {
  return layout == nullptr ? "" : layout->*part;
}

Ref<NSBundle> makeBundle(const fs::path& folder) {
  return std::make_shared<NSBundle>(std::make_shared<NSURL>(folder.string()));
}

Ref<NSBundle> bundleOfThisProgram() {
  const std::string program = port::programPath();
  const Ref<NSBundle> around = NSBundle::bundleAroundExecutable(NSString::stringWithBytes(program));
  if (around) return around;
  return makeBundle(program.empty() ? fs::path("/") : fs::path(program).parent_path());
}

}  // namespace

bool isPartOfBundleLayout(std::string_view name) {
  std::string lower(name);
  std::ranges::transform(lower, lower.begin(), lowerCase);
  return lower == "contents" || lower == "resources" || lower == "info.plist";
}

NSBundle::NSBundle(Ref<NSURL> bundleURL)
    : bundleURL_(std::move(bundleURL)),
      layout_(bundleURL_->findings() == NSURL::Findings::plainFolder ? nullptr : layoutOf(folderPath(bundleURL_))),
      info_(layout_ == nullptr ? std::make_shared<NSDictionary>()
                               : dictionaryInFile(folderPath(bundleURL_) / layout_->info, kLargestInfo)) {}

Ref<NSBundle> NSBundle::bundleWithURL(const Ref<NSURL>& url) {
  if (!url || url->findings() == NSURL::Findings::noFolder) return nullptr;
  std::error_code error;
  const bool isFolder = url->findings() == NSURL::Findings::plainFolder || fs::is_directory(folderPath(url), error);
  return isFolder ? std::make_shared<NSBundle>(url) : nullptr;
}

Ref<NSBundle> NSBundle::bundleAroundExecutable(const Ref<NSString>& path) {
  fs::path folder = fileSystemRepresentation(path);
  while (folder.has_relative_path()) {
    folder = folder.parent_path();
    if (layoutOf(folder) != nullptr) return makeBundle(folder);
  }
  return nullptr;
}

Ref<NSBundle> NSBundle::mainBundle() {
  const ErrorNumberKeeper keeper;
  static const Ref<NSBundle>& bundle = neverDestroyed<Ref<NSBundle>>(bundleOfThisProgram());
  return bundle;
}

Ref<NSString> NSBundle::infoText(const Ref<NSString>& key) const { return asString(info_->objectForKey(key)); }

Ref<NSString> NSBundle::bundleIdentifier() const { return infoText("CFBundleIdentifier"_ns); }

Ref<NSString> NSBundle::executablePath() const {
  const Ref<NSString> given = infoText("CFBundleExecutable"_ns);
  const std::string name = length(given) > 0
                               ? fileSystemRepresentation(given)
                               : std::string(nameWithoutExtension(bundleURL_->lastPathComponent()->bytes()));
  if (!staysInside(name)) return nullptr;
  return NSString::stringWithBytes(
      (folderPath(bundleURL_) / partOf(layout_, &BundleLayout::executables) / name).string());
}

Ref<NSDictionary> NSBundle::translations(const std::string& table) const {
  const std::lock_guard lock(translationsLock_);
  Ref<NSDictionary>& known = translations_[table];
  if (known) return known;

  std::vector<NSDictionary::Entry> entries;
  // If several languages have a key, the last entry wins. So the preferred language is added last.
  std::vector<std::string> languages = wantedLanguages();
  std::reverse(languages.begin(), languages.end());
  for (const std::string& language : languages) {
    const fs::path folder = folderPath(bundleURL_) / partOf(layout_, &BundleLayout::resources) / (language + ".lproj");
    const Ref<NSDictionary> found = dictionaryInFile(folder / (table + ".strings"), kLargestTranslations);
    entries.insert(entries.end(), found->entries().begin(), found->entries().end());
  }
  known = NSDictionary::dictionaryWithEntries(std::move(entries));
  return known;
}

Ref<NSString> NSBundle::localizedStringForKey(const Ref<NSString>& key, const Ref<NSString>& value,
                                              const Ref<NSString>& table) const {
  const ErrorNumberKeeper keeper;
  const std::string tableName = length(table) > 0 ? fileSystemRepresentation(table) : "Localizable";
  if (const Ref<NSString> found = asString(translations(tableName)->objectForKey(key))) return found;
  return length(value) > 0 ? value : key;
}

}  // namespace zk
