// The Helper_ family: library-wide start and stop of a host's use. The memory
// manager is started and ended by the library entry, so these do nothing.
#include "qv_helper/qv_helper.h"

void Helper_init() {}
void Helper_exit() {}
