#include "net/Servers.h"

const char kUpdateHost[] = VELMORA_UPDATE_HOST;
