/* The library that runs is the one whose headers were compiled with. */
#include <stdio.h>
#include <string.h>
#include <tavcore/version.h>

int main(void) {
  char expected[32];
  snprintf(expected, sizeof expected, "%d.%d.%d", TAVCORE_VERSION_MAJOR, TAVCORE_VERSION_MINOR,
           TAVCORE_VERSION_PATCH);
  if (nkr_version() != TAVCORE_VERSION_NUMBER) return 1;
  if (strcmp(nkr_version_text(), expected) != 0) return 2;
  return 0;
}
