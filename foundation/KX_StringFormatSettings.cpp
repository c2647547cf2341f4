#include "foundation/KX_StringFormatSettings.h"

const KX_StringFormatSettings stringFormatSettings;
