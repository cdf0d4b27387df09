// The input's zero bytes separate the arguments that the settings are read from. Each setting must agree with a plain
// reading of the rules.

#include <map>
#include <string>
#include <vector>

#include "fuzz/Fuzzing.h"
#include "process/NSUserDefaults.h"
#include "support/ForwardingSystem.h"
#include "system/System.h"

namespace {

using zk::fuzz::require;

class SystemWithArguments final : public zk::test::ForwardingSystem {
 public:
  explicit SystemWithArguments(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {}
  std::vector<std::string> arguments() override { return arguments_; }

 private:
  std::vector<std::string> arguments_;
};

std::vector<std::string> split(std::string_view input) {
  std::vector<std::string> arguments{"program"};
  while (!input.empty()) {
    const std::string_view argument = input.substr(0, input.find('\0'));
    arguments.emplace_back(argument);
    input.remove_prefix(argument.size() < input.size() ? argument.size() + 1 : input.size());
  }
  return arguments;
}

bool isKey(const std::string& argument) {
  if (argument.size() < 2 || argument[0] != '-' || argument == "--") return false;
  return argument[1] < '0' || argument[1] > '9';
}

/// All settings, collected from the last argument to the first: what is found first stays.
std::map<std::string, std::string> settingsIn(const std::vector<std::string>& arguments) {
  std::map<std::string, std::string> settings;
  for (std::size_t index = arguments.size(); --index > 0;) {
    if (!isKey(arguments[index])) continue;
    const bool hasValue = index + 1 < arguments.size() && !isKey(arguments[index + 1]);
    settings.emplace(arguments[index].substr(1), hasValue ? arguments[index + 1] : std::string());
  }
  return settings;
}

bool isTrue(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\n\v\f\r");
  if (begin == std::string_view::npos) return false;
  text.remove_prefix(begin);
  if (text[0] == '+' || text[0] == '-') text.remove_prefix(1);
  while (!text.empty() && text[0] == '0') text.remove_prefix(1);
  if (text.empty()) return false;
  return (text[0] >= '1' && text[0] <= '9') || text[0] == 'y' || text[0] == 'Y' || text[0] == 't' || text[0] == 'T';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> arguments = split(zk::fuzz::asText(data, size));
  const std::map<std::string, std::string> settings = settingsIn(arguments);
  SystemWithArguments system(arguments);
  const zk::System::Scope scope(system);
  const zk::NSUserDefaults& defaults = zk::NSUserDefaults::standardUserDefaults();

  for (const auto& [key, value] : settings) {
    const zk::Ref<zk::NSString> name = zk::NSString::stringWithBytes(key);
    const zk::Ref<zk::NSString> text = defaults.stringForKey(name);
    require(text && text->bytes() == value);
    require(defaults.integerForKey(name) == std::strtoll(value.c_str(), nullptr, 10));
    require(defaults.boolForKey(name) == isTrue(value));
  }
  const zk::Ref<zk::NSString> pid = zk::NSString::stringWithUTF8String("pid");
  require((defaults.stringForKey(pid) != nullptr) == settings.contains("pid"));
  return 0;
}
