#include "ZelLogging_p.h"

Q_LOGGING_CATEGORY(zelParameters, "zel.parameters", QtInfoMsg)
