#include "zk/dir.h"

#include "SRC/Str.h"
#include "platform/Directory.h"

int zk_Drive_num(char letter) { return static_cast<unsigned char>(zk::upperCase(letter)) - 64; }

int zk_Drive_set(int number) {
  if (number < 1) return -1;
  zk::platform::changeDrive(number);
  return 0;
}

// Callers rely on never learning the current drive. That is meant.
int zk_Drive_get(void) { return -1; }
