// Compiled against the include root of a lower layer by check_layers.cmake: the include below
// runs from snmp (or any layer left of app) to app and must not be found.
#include "app/settings.h"

int main() {
  return 0;
}
