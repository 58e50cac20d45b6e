#ifndef ZELFX_STUDIO_EFFECTCATALOG_H
#define ZELFX_STUDIO_EFFECTCATALOG_H

#include <QImage>
#include <QStandardItemModel>
#include <QThreadPool>

struct QMetaObject;

// Every registered effect, grouped by family: one top-level row per family, one child row per
// effect with its display name, tooltip and an icon from the effect's own preview of a small
// sample. The icons are drawn on a thread of their own after construction.
class EffectCatalog : public QStandardItemModel
{
    Q_OBJECT
public:
    static const int ShortNameRole = Qt::UserRole + 1;

    explicit EffectCatalog(QObject* parent = nullptr);
    ~EffectCatalog() override;

    // The family an effect belongs to, after the folder its sources live in.
    static QString family(const QString& shortName);
    QModelIndex indexOf(const QString& shortName) const;
    bool iconsPending() const { return myPendingIcons > 0; }

signals:
    void iconsDone();

private:
    QStandardItem* familyItem(const QString& family);
    void drawIcon(QStandardItem* item, const QMetaObject* effect, const QImage& sample);

    QThreadPool myIconPool;
    int myPendingIcons = 0;
};

// The small picture every icon is drawn from.
QImage iconSample();

#endif
