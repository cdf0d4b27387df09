#include "StaticObject.h"

namespace zk::test {
namespace {

const StaticObject last("last");

}  // namespace
}  // namespace zk::test
