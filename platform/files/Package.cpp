#include "files/Package.h"

#include <algorithm>
#include <array>
#include <string>

#include "objects/Path.h"
#include "text/Characters.h"

namespace zk {

namespace {

constexpr std::array<std::string_view, 16> kPackageExtensions = {
    "app",         "bundle",     "plugin", "component", "kext", "prefpane", "appex", "xpc",
    "qlgenerator", "mdimporter", "saver",  "service",   "wdgt", "rtfd",     "pkg",   "mpkg"};

}  // namespace

bool isPackageName(std::string_view name) {
  std::string extension(pathExtension(name));
  std::transform(extension.begin(), extension.end(), extension.begin(), lowerCase);
  return std::find(kPackageExtensions.begin(), kPackageExtensions.end(), extension) != kPackageExtensions.end();
}

}  // namespace zk
