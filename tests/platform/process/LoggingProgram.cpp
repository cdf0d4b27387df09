// A program for the tests of the log: deletes its own file, then logs its first argument.

#include <unistd.h>

#include "process/LogSink.h"

int main(int argumentCount, char** arguments) {
  if (argumentCount < 2 || ::unlink(arguments[0]) != 0) return 2;
  zk::writeLogLine(arguments[1]);
  return 0;
}
