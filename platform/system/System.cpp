#include "system/System.h"

#include "system/Port.h"

namespace zk {

std::string fileSystemRepresentation(const Ref<NSString>& text) {
  return text ? port::fileSystemRepresentation(text->bytes()) : std::string();
}

const char* GetMacOSStatusCommentString(std::int32_t status) { return port::statusComment(status); }

namespace {
System* systemInPlace = nullptr;
}

System& System::current() { return systemInPlace != nullptr ? *systemInPlace : port::operatingSystem(); }

System::Scope::Scope(System& system) : previous_(systemInPlace) { systemInPlace = &system; }

System::Scope::~Scope() { systemInPlace = previous_; }

}  // namespace zk
