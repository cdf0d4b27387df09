#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "objects/NSDictionary.h"
#include "objects/NSURL.h"

namespace zk {

struct BundleLayout;

/// Whether an item with this name can make its folder a bundle. Case is ignored, as it is on some file systems.
bool isPartOfBundleLayout(std::string_view name);

/// A folder that holds an application or another piece of software. Its property list is the regular file
/// Contents/Info.plist, else Resources/Info.plist, else Info.plist. A folder without one is a bundle without an
/// identifier.
class NSBundle final : public NSObject {
 public:
  /// The bundle at `url`, links followed; absent if there is no folder.
  static Ref<NSBundle> bundleWithURL(const Ref<NSURL>& url);

  /// The nearest folder above the file at `path` that has an Info.plist. A folder called Contents or Resources is only
  /// the inside of a bundle and does not count. Absent if there is none.
  static Ref<NSBundle> bundleAroundExecutable(const Ref<NSString>& path);

  /// The bundle around the running program, else the folder that the program lies in.
  static Ref<NSBundle> mainBundle();

  const Ref<NSURL>& bundleURL() const { return bundleURL_; }
  /// The text under CFBundleIdentifier in the Info.plist; absent if there is none.
  Ref<NSString> bundleIdentifier() const;
  /// The path of the bundle's own program: <bundle>/Contents/MacOS/<name> or, in the other layouts, <bundle>/<name>.
  /// The name is the text under CFBundleExecutable, else the bundle's own name without its extension. Absent if the
  /// name leads to that folder itself or out of it by its own "..", whatever the links on the way. The file need not
  /// exist.
  Ref<NSString> executablePath() const;

  /// `localizedStringForKey:value:table:`: the translation of `key` in this bundle's <language>.lproj/<table>.strings.
  /// Languages are tried in the order in which the user wants them (port::userLanguages()). Without a
  /// translation the result is `value`, or `key` itself if `value` is empty or absent. errno stays as it was. The files
  /// of a table are read once, when it is first used. May be called from several threads at once.
  /// @param table the name of the table; absent means Localizable
  Ref<NSString> localizedStringForKey(const Ref<NSString>& key, const Ref<NSString>& value,
                                      const Ref<NSString>& table) const;

  /// The text under `key` in the Info.plist; absent if there is none.
  Ref<NSString> infoText(const Ref<NSString>& key) const;

  explicit NSBundle(Ref<NSURL> bundleURL);

 private:
  Ref<NSDictionary> translations(const std::string& table) const;

  Ref<NSURL> bundleURL_;
  const BundleLayout* layout_;  ///< null for a plain folder
  Ref<NSDictionary> info_;      ///< the Info.plist; empty if it cannot be read or is not a dictionary
  mutable std::mutex translationsLock_;
  mutable std::map<std::string, Ref<NSDictionary>> translations_;  ///< by table, read when first asked for
};

}  // namespace zk
