#include "RunSequence.h"
#include "process/ProcessStart.h"

int main(int argumentCount, char** arguments) {
  zk::startProcess(argumentCount, arguments);
  return zk::runInstaller();
}
