#include "platform/wib/maybe_u63.h"
