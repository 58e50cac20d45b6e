#include "valueconversion.h"

#include "imagefiles.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QLocale>
#include <QMetaType>
#include <QPainterPath>
#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QSizeF>
#include <QStringList>
#include <QVector>

#include <cmath>

namespace {

bool parseNumber(const QString& text, int* value)
{
    bool ok = false;
    *value = text.trimmed().toInt(&ok);
    return ok;
}

bool parseNumber(const QString& text, double* value)
{
    bool ok = false;
    *value = text.trimmed().toDouble(&ok);
    return ok && std::isfinite(*value);
}

// Exactly count numbers separated by separator: "1,2,3,4", "640x480".
template <typename Number>
bool parseNumbers(const QString& text, QChar separator, int count, QVector<Number>* numbers)
{
    const QStringList parts = text.split(separator);
    if (parts.size() != count)
        return false;
    numbers->resize(count);
    for (int i = 0; i < count; ++i) {
        if (!parseNumber(parts.at(i), &(*numbers)[i]))
            return false;
    }
    return true;
}

bool parseBool(const QString& text, QVariant* value)
{
    const QString word = text.trimmed().toLower();
    if (word == QLatin1String("true") || word == QLatin1String("1"))
        *value = true;
    else if (word == QLatin1String("false") || word == QLatin1String("0"))
        *value = false;
    else
        return false;
    return true;
}

bool parseColor(const QString& text, QVariant* value)
{
    const QString name = text.trimmed();
    // Checked first: constructing a QColor from an unknown name prints a warning.
    if (!QColor::isValidColor(name))
        return false;
    *value = QColor(name);
    return true;
}

bool loadImage(const QString& path, QImage* image, QString* reason)
{
    QString readerReason;
    if (readImageFile(path, image, &readerReason))
        return true;
    *reason = QStringLiteral("cannot read image file %1: %2").arg(path, readerReason);
    return false;
}

bool parseImages(const QString& text, QList<QImage>* images, QString* reason)
{
    for (const QString& path : text.split(QLatin1Char(';'))) {
        QImage image;
        if (!loadImage(path, &image, reason))
            return false;
        images->append(image);
    }
    return true;
}

QString joinNumbers(std::initializer_list<double> numbers, QChar separator)
{
    QStringList parts;
    for (double number : numbers)
        parts << QString::number(number, 'g', QLocale::FloatingPointShortest);
    return parts.join(separator);
}

// "1,2,1": no ';', so that a 2-D kernel is never taken for a separable one.
bool parseKernel(const QString& text, QVector<int>* kernel)
{
    if (text.contains(QLatin1Char(';')))
        return false;
    if (text.trimmed().isEmpty())
        return true;
    const QStringList parts = text.split(QLatin1Char(','));
    kernel->resize(parts.size());
    for (int i = 0; i < parts.size(); ++i) {
        if (!parseNumber(parts.at(i), &(*kernel)[i]))
            return false;
    }
    return true;
}

// "1,2,1;2,4,2;1,2,1"; a trailing ';' ends a one-row kernel.
bool parseKernel2D(const QString& text, QVector<QVector<int>>* kernel)
{
    QStringList rows = text.split(QLatin1Char(';'));
    if (rows.size() > 1 && rows.last().trimmed().isEmpty())
        rows.removeLast();
    if (rows.size() == 1 && rows.first().trimmed().isEmpty())
        return true;
    for (const QString& row : rows) {
        QVector<int> weights;
        if (!parseKernel(row, &weights))
            return false;
        kernel->append(weights);
    }
    return true;
}

bool parsePainterPath(const QString& text, QPainterPath* path)
{
    if (text.trimmed().isEmpty())
        return true;
    for (const QString& rectangle : text.split(QLatin1Char(';'))) {
        QVector<double> d;
        if (!parseNumbers(rectangle, QLatin1Char(','), 4, &d))
            return false;
        path->addRect(d[0], d[1], d[2], d[3]);
    }
    return true;
}

QString formatPainterPath(const QPainterPath& path)
{
    QStringList rectangles;
    for (const QPolygonF& polygon : path.toSubpathPolygons()) {
        const QRectF r = polygon.boundingRect();
        rectangles << joinNumbers({r.x(), r.y(), r.width(), r.height()}, QLatin1Char(','));
    }
    return rectangles.join(QLatin1Char(';'));
}

bool convertList(const QString& text, int typeId, QVariant* value)
{
    if (typeId == kernelTypeId()) {
        QVector<int> kernel;
        if (!parseKernel(text, &kernel))
            return false;
        *value = QVariant::fromValue(kernel);
        return true;
    }
    if (typeId == kernel2DTypeId()) {
        QVector<QVector<int>> kernel;
        if (!parseKernel2D(text, &kernel))
            return false;
        *value = QVariant::fromValue(kernel);
        return true;
    }
    QPainterPath path;
    if (!parsePainterPath(text, &path))
        return false;
    *value = QVariant(typeId, &path);
    return true;
}

bool convertGeometry(const QString& text, int typeId, QVariant* value)
{
    QVector<int> i;
    QVector<double> d;
    const QString lower = text.toLower();
    switch (typeId) {
    case QMetaType::QSize:
        if (!parseNumbers(lower, QLatin1Char('x'), 2, &i))
            return false;
        *value = QSize(i[0], i[1]);
        return true;
    case QMetaType::QSizeF:
        if (!parseNumbers(lower, QLatin1Char('x'), 2, &d))
            return false;
        *value = QSizeF(d[0], d[1]);
        return true;
    case QMetaType::QRect:
        if (!parseNumbers(text, QLatin1Char(','), 4, &i))
            return false;
        *value = QRect(i[0], i[1], i[2], i[3]);
        return true;
    case QMetaType::QRectF:
        if (!parseNumbers(text, QLatin1Char(','), 4, &d))
            return false;
        *value = QRectF(d[0], d[1], d[2], d[3]);
        return true;
    case QMetaType::QPoint:
        if (!parseNumbers(text, QLatin1Char(','), 2, &i))
            return false;
        *value = QPoint(i[0], i[1]);
        return true;
    case QMetaType::QPointF:
        if (!parseNumbers(text, QLatin1Char(','), 2, &d))
            return false;
        *value = QPointF(d[0], d[1]);
        return true;
    default:
        return false;
    }
}

bool convertNumber(const QString& text, int typeId, QVariant* value)
{
    bool ok = false;
    const QString trimmed = text.trimmed();
    switch (typeId) {
    case QMetaType::Int:
        *value = trimmed.toInt(&ok);
        return ok;
    case QMetaType::UInt:
        *value = trimmed.toUInt(&ok);
        return ok;
    case QMetaType::LongLong:
        *value = trimmed.toLongLong(&ok);
        return ok;
    case QMetaType::ULongLong:
        *value = trimmed.toULongLong(&ok);
        return ok;
    case QMetaType::Double: {
        double number = 0;
        if (!parseNumber(trimmed, &number))
            return false;
        *value = number;
        return true;
    }
    case QMetaType::Float: {
        double number = 0;
        if (!parseNumber(trimmed, &number))
            return false;
        *value = float(number);
        return true;
    }
    default:
        return false;
    }
}

bool isNumberType(int typeId)
{
    return typeId == QMetaType::Int || typeId == QMetaType::UInt || typeId == QMetaType::LongLong
        || typeId == QMetaType::ULongLong || typeId == QMetaType::Double || typeId == QMetaType::Float;
}

bool isGeometryType(int typeId)
{
    return typeId == QMetaType::QSize || typeId == QMetaType::QSizeF || typeId == QMetaType::QRect
        || typeId == QMetaType::QRectF || typeId == QMetaType::QPoint || typeId == QMetaType::QPointF;
}

} // namespace

int imageListTypeId()
{
    return qMetaTypeId<QList<QImage>>();
}

int kernelTypeId()
{
    return qMetaTypeId<QVector<int>>();
}

int kernel2DTypeId()
{
    return qMetaTypeId<QVector<QVector<int>>>();
}

int painterPathTypeId()
{
    return QMetaType::type("QPainterPath");
}

int typeIdForName(const QByteArray& typeName)
{
    imageListTypeId();
    kernelTypeId();
    kernel2DTypeId();
    return QMetaType::type(typeName.constData());
}

bool isVariableLengthType(int typeId)
{
    return typeId != QMetaType::UnknownType
        && (typeId == kernelTypeId() || typeId == kernel2DTypeId() || typeId == painterPathTypeId());
}

bool isImageType(int typeId)
{
    return typeId == QMetaType::QImage || typeId == imageListTypeId();
}

bool isConvertibleType(int typeId)
{
    return isNumberType(typeId) || isGeometryType(typeId) || isImageType(typeId) || isVariableLengthType(typeId)
        || typeId == QMetaType::Bool || typeId == QMetaType::QColor || typeId == QMetaType::QString
        || typeId == QMetaType::QStringList;
}

bool convertText(const QString& text, int typeId, QVariant* value, QString* reason)
{
    QString ignored;
    QString* why = reason ? reason : &ignored;
    if (isNumberType(typeId))
        return convertNumber(text, typeId, value);
    if (isGeometryType(typeId))
        return convertGeometry(text, typeId, value);
    if (isVariableLengthType(typeId))
        return convertList(text, typeId, value);
    switch (typeId) {
    case QMetaType::Bool:
        return parseBool(text, value);
    case QMetaType::QColor:
        return parseColor(text, value);
    case QMetaType::QString:
        *value = text;
        return true;
    case QMetaType::QStringList:
        *value = text.isEmpty() ? QStringList() : text.split(QLatin1Char(';'));
        return true;
    case QMetaType::QImage: {
        QImage image;
        if (!loadImage(text, &image, why))
            return false;
        *value = image;
        return true;
    }
    default:
        break;
    }
    if (typeId == imageListTypeId()) {
        QList<QImage> images;
        if (!parseImages(text, &images, why))
            return false;
        *value = QVariant::fromValue(images);
        return true;
    }
    return false;
}

QString expectedForm(int typeId)
{
    const QString name = QString::fromLatin1(QMetaType::typeName(typeId));
    if (isNumberType(typeId) || typeId == QMetaType::QString)
        return name;
    switch (typeId) {
    case QMetaType::Bool:
        return name + QStringLiteral(" (true, false, 1 or 0)");
    case QMetaType::QColor:
        return name + QStringLiteral(" (#rrggbb, #aarrggbb or an SVG colour name)");
    case QMetaType::QSize:
    case QMetaType::QSizeF:
        return name + QStringLiteral(" (WxH)");
    case QMetaType::QRect:
    case QMetaType::QRectF:
        return name + QStringLiteral(" (x,y,w,h)");
    case QMetaType::QPoint:
    case QMetaType::QPointF:
        return name + QStringLiteral(" (x,y)");
    case QMetaType::QStringList:
        return name + QStringLiteral(" (texts separated by ;)");
    case QMetaType::QImage:
        return name + QStringLiteral(" (an image file)");
    default:
        break;
    }
    if (typeId == imageListTypeId())
        return name + QStringLiteral(" (image files separated by ;)");
    if (typeId == kernelTypeId())
        return name + QStringLiteral(" (integers separated by ,)");
    if (typeId == kernel2DTypeId())
        return name + QStringLiteral(" (rows of integers separated by , and rows by ;)");
    if (isVariableLengthType(typeId))
        return name + QStringLiteral(" (rectangles x,y,w,h separated by ;)");
    return name.isEmpty() ? QStringLiteral("a value of unknown type") : name;
}

QString formatValue(const QVariant& value)
{
    switch (int(value.type())) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Double:
    case QMetaType::Float:
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::QColor: {
        const QColor color = value.value<QColor>();
        if (!color.isValid())
            return QString();
        return color.name(color.alpha() == 255 ? QColor::HexRgb : QColor::HexArgb);
    }
    case QMetaType::QSize: {
        const QSize size = value.toSize();
        return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
    }
    case QMetaType::QSizeF: {
        const QSizeF size = value.toSizeF();
        return joinNumbers({size.width(), size.height()}, QLatin1Char('x'));
    }
    case QMetaType::QRect: {
        const QRect r = value.toRect();
        return QStringLiteral("%1,%2,%3,%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
    }
    case QMetaType::QRectF: {
        const QRectF r = value.toRectF();
        return joinNumbers({r.x(), r.y(), r.width(), r.height()}, QLatin1Char(','));
    }
    case QMetaType::QPoint: {
        const QPoint p = value.toPoint();
        return QStringLiteral("%1,%2").arg(p.x()).arg(p.y());
    }
    case QMetaType::QPointF: {
        const QPointF p = value.toPointF();
        return joinNumbers({p.x(), p.y()}, QLatin1Char(','));
    }
    case QMetaType::QStringList:
        return value.toStringList().join(QLatin1Char(';'));
    default:
        break;
    }
    if (value.userType() != QMetaType::UnknownType && value.userType() == painterPathTypeId())
        return formatPainterPath(*static_cast<const QPainterPath*>(value.constData()));
    return value.toString();
}
