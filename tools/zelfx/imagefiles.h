#ifndef ZELFX_IMAGEFILES_H
#define ZELFX_IMAGEFILES_H

#include "status.h"

#include <QImage>
#include <QString>

// False, with a reason worded to follow the file name, when the file cannot be read as a whole
// image: missing, a directory, empty, no image, or damaged. A damaged JPEG or PNG that the reader
// decodes in part, saying so only in a warning (a truncated JPEG comes back grey below the cut),
// counts as unreadable; the warning becomes the reason and is not printed.
// autoTransform: turn the picture as its EXIF orientation says.
bool readImageFile(const QString& path, QImage* image, QString* reason, bool autoTransform = false);

// As readImageFile, failing with ExitInputUnreadable.
Status loadInputImage(const QString& path, QImage* image);
// Writes in the format the file suffix names (or format, when given); fails with
// ExitOutputUnwritable. The file appears complete or not at all: the image goes to a temporary
// file beside it, which replaces the file only once written.
Status saveOutputImage(const QImage& image, const QString& path, const QByteArray& format = QByteArray());

#endif
