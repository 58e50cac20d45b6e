#ifndef ZELEDITIMAGEMANIPULATOR_P_H
#define ZELEDITIMAGEMANIPULATOR_P_H

// How often the fade table of ZelEditImageManipulator has been built in this process: once at
// most, however many threads ask for it at the same time.
int zelFadeTableCreations();

#endif
