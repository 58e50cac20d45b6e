#ifndef ZELCOLOREDIT_H
#define ZELCOLOREDIT_H

#include <QColor>
#include <QPointer>
#include <QWidget>

class QColorDialog;

// The editor of colour parameters: a swatch button showing the colour (over a checkerboard where
// it is translucent) that opens a QColorDialog, with the alpha channel when alpha is allowed.
class ZelColorEdit : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged USER true)
public:
    explicit ZelColorEdit(QWidget* parent = nullptr);

    QColor color() const;
    bool allowAlpha() const;
    void setAllowAlpha(bool allow);

public slots:
    // Emits colorChanged() only when the colour really changes.
    void setColor(const QColor& color);
    // Opens the colour dialog, window-modal and without blocking; a colour accepted there becomes
    // the new colour (made opaque while alpha is not allowed).
    void chooseColor();

signals:
    void colorChanged(const QColor& color);

private:
    class Swatch;

    void updateSwatch();
    void acceptDialogColor(const QColor& chosen);

    Swatch* mySwatch;
    QPointer<QColorDialog> myDialog;
    QColor myColor;
    bool myAllowAlpha;
};

#endif
