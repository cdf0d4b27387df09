/* The program in the bundles. With the argument "stay" it plays the old version and runs until it is killed. Started in
 * any other way, as by the installer, it ends at once. */
#include <string.h>
#include <unistd.h>

int main(int argumentCount, char** arguments) {
  const int isToStay = argumentCount == 2 && strcmp(arguments[1], "stay") == 0;
  while (isToStay) pause();
  return 0;
}
