#ifndef ZELLOGGING_P_H
#define ZELLOGGING_P_H

#include <QLoggingCategory>

// Messages for the library's maintainers, off by default; QT_LOGGING_RULES="zel.*.debug=true"
// (or zelfx --verbose) shows them.
Q_DECLARE_LOGGING_CATEGORY(zelParameters)

// Warnings when ImageMagick refuses or fails an operation (a resource limit, a pixel-cache error):
// the operation then keeps the picture the wand held, and without this nothing tells the user.
// Off by default, warnings included; QT_LOGGING_RULES="zel.magick.warning=true" shows them, and
// tools that must not pass such a result on silently enable the category and treat a warning
// as an error.
Q_DECLARE_LOGGING_CATEGORY(zelMagick)

#endif
