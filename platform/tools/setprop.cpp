// setprop NAME VALUE: the device's property writer. Like the phone's, it cannot change a ro.*
// property that is already set.

#include <cutils/properties.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char** argv) {
  if (argc > 1 && (strcmp(argv[1], "-h") == 0 || strcmp(argv[1], "--help") == 0)) {
    printf("usage: setprop NAME VALUE\n\n"
           "Sets a property of the device. Names are at most 127 bytes, values at most 91;\n"
           "a ro.* property can be set only once.\n");
    return 0;
  }
  // A property name never starts with '-': that is a flag this setprop does not have (a VALUE
  // may, as in "-1").
  if (argc > 1 && argv[1][0] == '-') {
    fprintf(stderr, "setprop: unknown option %s\nusage: setprop NAME VALUE\n", argv[1]);
    return 2;
  }
  if (argc != 3) {
    fprintf(stderr, "usage: setprop NAME VALUE (see setprop --help)\n");
    return 1;
  }
  if (property_set(argv[1], argv[2]) != 0) {
    fprintf(stderr, "setprop: failed to set property '%s' to '%s': %s\n", argv[1], argv[2],
            strerror(errno));
    return 1;
  }
  return 0;
}
