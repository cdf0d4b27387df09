#include "files/NSBundle.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "files/Localization.h"
#include "objects/NSData.h"
#include "plist/NSPropertyListSerialization.h"
#include "process/ErrorNumbers.h"
#include "process/ProgramPath.h"

namespace zk {

/// Where a bundle keeps its parts, as paths inside it.
struct BundleLayout {
  const char* info;
  const char* executables;
  const char* resources;
};

namespace {

namespace fs = std::filesystem;

/// In the order in which they are looked for.
constexpr std::array<BundleLayout, 3> kLayouts = {{
    {"Contents/Info.plist", "Contents/MacOS", "Contents/Resources"},
    {"Resources/Info.plist", "", "Resources"},
    {"Info.plist", "", ""},
}};
/// Of a folder that holds no Info.plist: in its place stands the folder, which is as good as no file.
constexpr BundleLayout kPlainFolder = {"", "", ""};

/// Whether a folder is only the inside of a bundle, by its name, though it may hold an Info.plist.
bool isInside(const fs::path& folder) { return folder.filename() == "Contents" || folder.filename() == "Resources"; }

/// The layout whose Info.plist lies in `folder` as a regular file, links followed; null when there is none.
const BundleLayout* layoutOf(const fs::path& folder) {
  if (isInside(folder)) return nullptr;
  for (const BundleLayout& layout : kLayouts) {
    std::error_code error;
    if (fs::is_regular_file(folder / layout.info, error)) return &layout;
  }
  return nullptr;
}

fs::path folderPath(const Ref<NSURL>& url) { return url->path()->fileSystemRepresentation(); }

/// The dictionary in a property-list file; an empty one when there is none.
Ref<NSDictionary> dictionaryInFile(const fs::path& path) {
  const Ref<NSData> data = NSData::dataWithContentsOfURL(std::make_shared<NSURL>(path.string()));
  const Ref<NSDictionary> dictionary =
      data ? asDictionary(NSPropertyListSerialization::propertyListWithData(data)) : nullptr;
  return dictionary ? dictionary : std::make_shared<NSDictionary>();
}

/// Whether a path leads to something inside the folder that it is taken from, links disregarded.
bool staysInside(const std::string& text) {
  const fs::path path = text;
  const bool isWhole = text.find('\0') == std::string::npos;
  return isWhole && !path.empty() && path.is_relative() && std::find(path.begin(), path.end(), "..") == path.end();
}

Ref<NSBundle> makeBundle(const fs::path& folder) {
  return std::make_shared<NSBundle>(std::make_shared<NSURL>(folder.string()));
}

Ref<NSBundle> bundleOfThisProgram() {
  const std::string program = programPath();
  const Ref<NSBundle> around = NSBundle::bundleAroundExecutable(NSString::stringWithBytes(program));
  if (around) return around;
  return makeBundle(program.empty() ? fs::path("/") : fs::path(program).parent_path());
}

}  // namespace

NSBundle::NSBundle(Ref<NSURL> bundleURL)
    : bundleURL_(std::move(bundleURL)),
      layout_([this]() -> const BundleLayout& {
        const BundleLayout* found = layoutOf(folderPath(bundleURL_));
        return found != nullptr ? *found : kPlainFolder;
      }()),
      info_(dictionaryInFile(folderPath(bundleURL_) / layout_.info)) {}

Ref<NSBundle> NSBundle::bundleWithURL(const Ref<NSURL>& url) {
  std::error_code error;
  if (!url || !fs::is_directory(folderPath(url), error)) return nullptr;
  return std::make_shared<NSBundle>(url);
}

Ref<NSBundle> NSBundle::bundleAroundExecutable(const Ref<NSString>& path) {
  fs::path folder = path->fileSystemRepresentation();
  while (folder.has_relative_path()) {
    folder = folder.parent_path();
    if (layoutOf(folder) != nullptr) return makeBundle(folder);
  }
  return nullptr;
}

Ref<NSBundle> NSBundle::mainBundle() {
  static const Ref<NSBundle> bundle = [] {
    const ErrorNumberKeeper keeper;
    return bundleOfThisProgram();
  }();
  return bundle;
}

Ref<NSString> NSBundle::infoText(const Ref<NSString>& key) const { return asString(info_->objectForKey(key)); }

Ref<NSString> NSBundle::bundleIdentifier() const { return infoText("CFBundleIdentifier"_ns); }

Ref<NSString> NSBundle::executablePath() const {
  const Ref<NSString> given = infoText("CFBundleExecutable"_ns);
  const std::string name = length(given) > 0
                               ? given->fileSystemRepresentation()
                               : std::string(nameWithoutExtension(bundleURL_->lastPathComponent()->bytes()));
  if (!staysInside(name)) return nullptr;
  return NSString::stringWithBytes((folderPath(bundleURL_) / layout_.executables / name).string());
}

const Ref<NSDictionary>& NSBundle::translations(const std::string& table) const {
  Ref<NSDictionary>& known = translations_[table];
  if (known) return known;

  std::vector<NSDictionary::Entry> entries;
  // Of a key that several languages have, the last entry wins: the most wanted language goes in last.
  std::vector<std::string> languages = wantedLanguages();
  std::reverse(languages.begin(), languages.end());
  for (const std::string& language : languages) {
    const fs::path folder = folderPath(bundleURL_) / layout_.resources / (language + ".lproj");
    const Ref<NSDictionary> found = dictionaryInFile(folder / (table + ".strings"));
    entries.insert(entries.end(), found->entries().begin(), found->entries().end());
  }
  known = NSDictionary::dictionaryWithEntries(std::move(entries));
  return known;
}

Ref<NSString> NSBundle::localizedStringForKey(const Ref<NSString>& key, const Ref<NSString>& value,
                                              const Ref<NSString>& table) const {
  const ErrorNumberKeeper keeper;
  const std::string tableName = length(table) > 0 ? table->fileSystemRepresentation() : "Localizable";
  if (const Ref<NSString> found = asString(translations(tableName)->objectForKey(key))) return found;
  return length(value) > 0 ? value : key;
}

}  // namespace zk
