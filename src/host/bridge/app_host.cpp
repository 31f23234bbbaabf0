// This file contains the application object of the host.
#include "host/bridge/app_host.h"

CFAppHost& CFAppHost::getInstance() {
  static CFAppHost instance;
  return instance;
}
