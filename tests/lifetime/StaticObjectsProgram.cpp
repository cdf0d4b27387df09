// A program for the tests of static objects. One of them is linked before the libraries and one after them.

#include <cstdio>

#include "StaticObject.h"

namespace zk::test {
namespace {

const StaticObject first("first");

}  // namespace
}  // namespace zk::test

int main() { std::puts("main"); }
