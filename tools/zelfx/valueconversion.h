#ifndef ZELFX_VALUECONVERSION_H
#define ZELFX_VALUECONVERSION_H

#include <QByteArray>
#include <QString>
#include <QVariant>

// Command-line text to values and back, by meta-type id (QVariant::Type ids are the same numbers).
//
// Forms: int and double as numbers, bool as true/false/1/0, QColor as #rrggbb, #aarrggbb or an
// SVG colour name, QSize "WxH", QRect and QRectF "x,y,w,h", QPoint and QPointF "x,y", QString as
// is, QStringList ';'-separated, QImage a file path (loaded), QList<QImage> ';'-separated paths,
// QVector<int> (a separable kernel) ','-separated integers, QVector<QVector<int>> (a 2-D kernel)
// ';'-separated rows of ','-separated integers, QPainterPath ';'-separated rectangles "x,y,w,h"
// (their union; empty text: the empty path).

bool isConvertibleType(int typeId);
bool isImageType(int typeId);
// Kernels and painter paths: written with a varying number of commas.
bool isVariableLengthType(int typeId);
// False for a text that does not fit; reason then says why (only image types give one).
bool convertText(const QString& text, int typeId, QVariant* value, QString* reason = nullptr);
// "int", "QSize (WxH)", ...: what convertText expects, for messages.
QString expectedForm(int typeId);
// The text convertText reads back to the same value.
QString formatValue(const QVariant& value);

int imageListTypeId();
int kernelTypeId();
int kernel2DTypeId();
// 0 until a library effect has registered QPainterPath.
int painterPathTypeId();
// The meta-type id of a type named in a method signature, with this tool's types registered.
int typeIdForName(const QByteArray& typeName);

#endif
