#include "files/NSBundle.h"

#include <algorithm>
#include <array>

#include "files/ItemKind.h"
#include "files/ItemPath.h"
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
bool isInside(std::string_view folder) { return lastName(folder) == "Contents" || lastName(folder) == "Resources"; }

/// The layout whose Info.plist is a regular file in `folder`, links followed; null if there is none.
const BundleLayout* layoutOf(const std::string& folder) {
  if (isInside(folder)) return nullptr;
  for (const BundleLayout& layout : kLayouts) {
    if (isRegularFile(joinedPath(folder, layout.info))) return &layout;
  }
  return nullptr;
}

std::string folderPath(const Ref<NSURL>& url) { return fileSystemRepresentation(url->path()); }

/// The dictionary in a property-list file of at most `mostBytes`; an empty one if there is none.
Ref<NSDictionary> dictionaryInFile(const std::string& path, std::size_t mostBytes) {
  const Ref<NSData> data = dataWithContentsOfURL(std::make_shared<NSURL>(path), mostBytes);
  const Ref<NSDictionary> dictionary =
      data ? asDictionary(NSPropertyListSerialization::propertyListWithData(data)) : nullptr;
  return dictionary ? dictionary : std::make_shared<NSDictionary>();
}

/// Whether a relative path leads to something inside the folder that it starts from, ignoring links.
bool staysInside(std::string_view path) {
  if (path.empty() || path.starts_with('/') || path.find('\0') != std::string_view::npos) return false;
  int depth = 0;
  while (!path.empty() && depth >= 0) {
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
    if (name == "..") {
      --depth;
    } else if (!name.empty() && name != ".") {
      ++depth;
    }
  }
  return depth > 0;
}

/// The folder for one kind of a bundle's parts; a plain folder keeps them all at its top.
std::string partOf(const Ref<NSURL>& bundle, const BundleLayout* layout, const char* BundleLayout::*part) {
  return layout == nullptr ? folderPath(bundle) : joinedPath(folderPath(bundle), layout->*part);
}

Ref<NSBundle> makeBundle(std::string folder) {
  return std::make_shared<NSBundle>(std::make_shared<NSURL>(std::move(folder)));
}

Ref<NSBundle> bundleOfThisProgram() {
  const std::string program = port::programPath();
  const Ref<NSBundle> around = NSBundle::bundleAroundExecutable(NSString::stringWithBytes(program));
  if (around) return around;
  return makeBundle(program.empty() ? "/" : ItemPath(program).folder);
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
                               : dictionaryInFile(joinedPath(folderPath(bundleURL_), layout_->info), kLargestInfo)) {}

Ref<NSBundle> NSBundle::bundleWithURL(const Ref<NSURL>& url) {
  if (!url || url->findings() == NSURL::Findings::noFolder) return nullptr;
  const bool isKnownFolder = url->findings() == NSURL::Findings::plainFolder;
  return isKnownFolder || isFolder(folderPath(url)) ? std::make_shared<NSBundle>(url) : nullptr;
}

Ref<NSBundle> NSBundle::bundleAroundExecutable(const Ref<NSString>& path) {
  for (ItemPath item(fileSystemRepresentation(path)); item.namesItem(); item = ItemPath(item.folder)) {
    if (layoutOf(item.folder) != nullptr) return makeBundle(item.folder);
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
  return NSString::stringWithBytes(joinedPath(partOf(bundleURL_, layout_, &BundleLayout::executables), name));
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
    const std::string folder = joinedPath(partOf(bundleURL_, layout_, &BundleLayout::resources), language + ".lproj");
    const Ref<NSDictionary> found = dictionaryInFile(joinedPath(folder, table + ".strings"), kLargestTranslations);
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
