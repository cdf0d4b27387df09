#include "darwin/CoreFoundation.h"
#include "darwin/FoundFunctions.h"
#include "system/Port.h"

namespace zk {

int port::macOSErrorNumber(int systemErrorNumber) { return systemErrorNumber; }

const char* port::statusComment(std::int32_t status) {
  const darwin::StatusCommentFunction comment = darwin::statusCommentFunction();
  return comment == nullptr ? nullptr : comment(status);
}

std::string port::fileSystemRepresentation(std::string_view text) {
  return darwin::fileSystemForm(darwin::coreFoundation(), text);
}

std::vector<std::string> port::userLanguages() { return darwin::preferredLanguages(darwin::coreFoundation()); }

}  // namespace zk
