#include <tavcore/version.h>

#define TEXT_OF(number) #number
#define VERSION_TEXT(major, minor, patch) TEXT_OF(major) "." TEXT_OF(minor) "." TEXT_OF(patch)

int nkr_version(void) {
  return TAVCORE_VERSION_NUMBER;
}

const char* nkr_version_text(void) {
  return VERSION_TEXT(TAVCORE_VERSION_MAJOR, TAVCORE_VERSION_MINOR, TAVCORE_VERSION_PATCH);
}
