#ifndef ZELFX_BENCH_H
#define ZELFX_BENCH_H

#include "status.h"

#include <QImage>
#include <QSize>
#include <QStringList>

struct QMetaObject;

// A deterministic, photo-like ARGB32 image: smooth gradients, texture and hard edges, opaque.
QImage syntheticPhoto(const QSize& size);

// False for effects whose class carries Q_CLASSINFO("ZelBenchmark", "skip: <reason>").
bool isBenchmarked(const QMetaObject* effect);

// zelfx bench EFFECT [--size WxH] [--repeat N] [--set, --set-ui, --settings, --call]
Status runBench(const QStringList& arguments);

#endif
