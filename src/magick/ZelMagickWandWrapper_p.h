#ifndef ZELMAGICKWANDWRAPPER_P_H
#define ZELMAGICKWANDWRAPPER_P_H

#include <QtGlobal>

// How many wands the bridge has created in this process: tools tell from it whether an effect
// computes through ImageMagick.
quint64 zelMagickWandsCreated();

#endif
