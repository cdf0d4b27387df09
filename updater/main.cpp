#include "RunSequence.h"
#include "objects/OutOfMemory.h"
#include "process/ProcessStart.h"

int main(int argumentCount, char** arguments) {
  const bool hasStarted = zk::unlessOutOfMemory([&] { zk::startProcess(argumentCount, arguments); });
  return hasStarted ? zk::runInstaller() : 1;
}
