#ifndef ZELFX_CHAIN_H
#define ZELFX_CHAIN_H

#include "status.h"

#include <QString>

#include <memory>
#include <vector>

class ZelImageProcessor;

// The effects of a chain, owned here for as long as the composer runs them.
using ChainSteps = std::vector<std::unique_ptr<ZelImageProcessor>>;

// Appends the steps of chainText, "EFFECT[:KEY=VALUE]...;EFFECT...", to composer (a Composer or one
// derived from it): each effect found and created as apply finds and creates one, each value set
// as --set sets it. An empty chainText adds no step. Fails with ExitUsage naming the step.
Status appendChain(ZelImageProcessor* composer, const QString& chainText, ChainSteps* steps);

#endif
