// getprop [NAME [DEFAULT]]: the device's property reader, in toybox's output format.

#include <cutils/properties.h>
#include <stdio.h>
#include <string.h>
#include <sys/system_properties.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace {

using Property = std::pair<std::string, std::string>;

void Collect(const prop_info* pi, void* cookie) {
  __system_property_read_callback(
      pi,
      [](void* out, const char* name, const char* value, uint32_t) {
        static_cast<std::vector<Property>*>(out)->emplace_back(name, value);
      },
      cookie);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && (strcmp(argv[1], "-h") == 0 || strcmp(argv[1], "--help") == 0)) {
    printf("usage: getprop [NAME [DEFAULT]]\n\n"
           "Without NAME, lists every property of the device as [name]: [value].\n"
           "With NAME, prints its value, or DEFAULT (or nothing) when it is unset.\n");
    return 0;
  }
  // A property name never starts with '-': that is a flag this getprop does not have (a
  // DEFAULT may, as in "-1").
  if (argc > 1 && argv[1][0] == '-') {
    fprintf(stderr, "getprop: unknown option %s\nusage: getprop [NAME [DEFAULT]]\n", argv[1]);
    return 2;
  }
  if (argc > 3) {
    fprintf(stderr, "getprop: too many arguments (see getprop --help)\n");
    return 1;
  }
  if (argc >= 2) {
    char value[PROPERTY_VALUE_MAX];
    property_get(argv[1], value, argc == 3 ? argv[2] : "");
    printf("%s\n", value);
    return 0;
  }
  std::vector<Property> all;
  __system_property_foreach(Collect, &all);
  std::sort(all.begin(), all.end());
  for (const Property& p : all) printf("[%s]: [%s]\n", p.first.c_str(), p.second.c_str());
  return 0;
}
