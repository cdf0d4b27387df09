#include "files/ItemKind.h"

#include "system/Item.h"

namespace zk {

bool isRegularFile(const std::string& path) {
  struct stat item;
  return ::stat(path.c_str(), &item) == 0 && S_ISREG(item.st_mode);
}

bool isFolder(const std::string& path) {
  struct stat item;
  return ::stat(path.c_str(), &item) == 0 && S_ISDIR(item.st_mode);
}

bool isSameItem(const std::string& left, const std::string& right) {
  struct stat leftItem;
  struct stat rightItem;
  return ::stat(left.c_str(), &leftItem) == 0 && ::stat(right.c_str(), &rightItem) == 0 &&
         identityOf(leftItem) == identityOf(rightItem);
}

}  // namespace zk
