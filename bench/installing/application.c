/* The program of the bundles that are installed. With the word "stay" it runs until it is killed, as the old version;
 * started in any other way, as the installer does, it ends at once. */
#include <string.h>
#include <unistd.h>

int main(int argumentCount, char** arguments) {
  const int isToStay = argumentCount == 2 && strcmp(arguments[1], "stay") == 0;
  while (isToStay) pause();
  return 0;
}
