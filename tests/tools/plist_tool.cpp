// plist_tool FOLDER
//
// Reads the property list in each file that standard input names, one a line. Prints a line of JSON for each (see
// jsonFromPropertyList(); "absent" if it is not a property list) and writes it in the binary form to FOLDER/N, where N
// counts the lines from 0.

#include <filesystem>
#include <iostream>
#include <string>

#include "files/NSDataFiles.h"
#include "platform/plist/PropertyListText.h"
#include "plist/NSPropertyListSerialization.h"

namespace {

using namespace zk;

constexpr std::size_t kMostBytes = std::size_t{1} << 24;

Ref<NSURL> urlOf(const std::filesystem::path& path) {
  return NSURL::fileURLWithPath(NSString::stringWithBytes(path.string()));
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::cerr << "usage: plist_tool FOLDER < NAMES\n";
    return 2;
  }
  const std::filesystem::path folder = arguments[1];
  std::string name;
  for (std::size_t line = 0; std::getline(std::cin, name); ++line) {
    const auto data = dataWithContentsOfURL(urlOf(name), kMostBytes);
    if (!data) {
      std::cerr << name << " cannot be read\n";
      return 1;
    }
    const auto propertyList = NSPropertyListSerialization::propertyListWithData(data);
    std::cout << test::jsonFromPropertyList(propertyList) << '\n';
    if (!propertyList) continue;
    const auto written =
        NSPropertyListSerialization::dataFromPropertyList(propertyList, NSPropertyListBinaryFormat_v1_0);
    if (!written || !writeToURL(written, urlOf(folder / std::to_string(line)), false)) {
      std::cerr << name << " cannot be written\n";
      return 1;
    }
  }
  return 0;
}
