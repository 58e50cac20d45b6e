#ifndef ZELFX_IMAGEFILES_H
#define ZELFX_IMAGEFILES_H

#include "status.h"

#include <QImage>
#include <QString>

// False, with the reader's reason, when the file cannot be read as an image.
bool readImageFile(const QString& path, QImage* image, QString* reason);

// As readImageFile, failing with ExitInputUnreadable.
Status loadInputImage(const QString& path, QImage* image);
// Writes in the format the file suffix names (or format, when given); fails with
// ExitOutputUnwritable.
Status saveOutputImage(const QImage& image, const QString& path, const QByteArray& format = QByteArray());

#endif
