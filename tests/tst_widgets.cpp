#include "ZelColorEdit.h"
#include "ZelParameterDescriptionContainerWidget.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelParameterDescriptionWidgetItem.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QSet>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>

namespace {

template <class Parameter = ZelParameterDescription>
Parameter plainParameter(const QString& name, const QVariant& value, const QVariant& defaultValue,
                         bool checkable = false)
{
    Parameter parameter;
    parameter.setParameterName(name);
    parameter.setVisibleName(name + QStringLiteral(" Beschriftung"));
    parameter.setValue(value);
    parameter.setDefaultValue(defaultValue);
    parameter.setCheckable(checkable);
    return parameter;
}

// Built here so that the returned container is the only holder of the parameters' data: a numeric
// parameter stays numeric until something shares it. CRatio is 0 ... 1 shown as 0 ... 100; ELabel is
// visible but has no editor kind.
ZelParameterDescriptionContainer panelContainer()
{
    ZelParameterDescriptionContainer container("TestEffect", QStringLiteral("testEffect"));
    container.add(plainParameter("AFlag", true, true), 0, 0);
    container.add(plainParameter("BColor", QColor(255, 0, 0), QColor(0, 0, 255), true), 0, 1);
    auto ratio = plainParameter<ZelParameterDescriptionNumber>("CRatio", 0.25, 0.5, true);
    ratio.setRange(0.0, 1.0);
    ratio.setUserVisibleRange(0, 100);
    container.add(ratio, 1, 0);
    ZelParameterDescription hidden = plainParameter("DHidden", 7, 3);
    hidden.setUIVisiblity(false);
    container.add(hidden, 1, 1);
    container.add(plainParameter("ELabel", QStringLiteral("Text"), QStringLiteral("Text")), 2, 0);
    return container;
}

ZelParameterDescriptionWidgetItem* itemFor(const QWidget& panel, const QString& name)
{
    for (ZelParameterDescriptionWidgetItem* item : panel.findChildren<ZelParameterDescriptionWidgetItem*>())
        if (item->parameterMap().contains(name))
            return item;
    return nullptr;
}

QObject* editorFor(const QWidget& panel, const QString& name)
{
    ZelParameterDescriptionWidgetItem* item = itemFor(panel, name);
    return item ? item->parameterMap().value(name).first : nullptr;
}

QPoint cellOf(const QWidget& panel, QWidget* item)
{
    auto* grid = qobject_cast<QGridLayout*>(panel.layout());
    int row = -1, column = -1, span = 0;
    if (grid && grid->indexOf(item) >= 0)
        grid->getItemPosition(grid->indexOf(item), &row, &column, &span, &span);
    return QPoint(row, column);
}

// What a user does: QGroupBox emits clicked(bool), which the item listens to, only for user input.
void clickGroupBoxCheck(const QWidget& panel, const QString& name)
{
    auto* editor = qobject_cast<QWidget*>(editorFor(panel, name));
    QVERIFY(editor);
    auto* groupBox = qobject_cast<QGroupBox*>(editor->parentWidget());
    QVERIFY(groupBox && groupBox->isCheckable());
    QTest::keyClick(groupBox, Qt::Key_Space);
}

} // namespace

class TestWidgets : public QObject
{
    Q_OBJECT

private slots:
    void itemSwitchEmitsOnlyOnChange()
    {
        ZelParameterDescriptionWidgetItem item;
        QSignalSpy spy(&item, &ZelParameterDescriptionWidgetItem::changed);
        item.setParameterEnabled(true);
        QCOMPARE(spy.count(), 0);
        item.setParameterEnabled(false);
        item.setParameterEnabled(false);
        QCOMPARE(spy.count(), 1);
        QVERIFY(!item.parameterEnabled());
        item.setParameterEnabled(true);
        QCOMPARE(spy.count(), 2);
    }

    void colorEditSignal_data()
    {
        QTest::addColumn<QColor>("initial");
        QTest::addColumn<QColor>("next");
        QTest::addColumn<int>("expectedSignals");
        QTest::newRow("same colour") << QColor(1, 2, 3) << QColor(1, 2, 3) << 0;
        QTest::newRow("other colour") << QColor(1, 2, 3) << QColor(1, 2, 4) << 1;
        QTest::newRow("alpha only") << QColor(1, 2, 3) << QColor(1, 2, 3, 100) << 1;
        QTest::newRow("to invalid") << QColor(1, 2, 3) << QColor() << 1;
    }
    // Through the setter and through the user property alike.
    void colorEditSignal()
    {
        QFETCH(QColor, initial);
        QFETCH(QColor, next);
        QFETCH(int, expectedSignals);
        for (bool throughProperty : {false, true}) {
            ZelColorEdit edit;
            edit.setColor(initial);
            QSignalSpy spy(&edit, &ZelColorEdit::colorChanged);
            if (throughProperty)
                QVERIFY(edit.setProperty("color", next));
            else
                edit.setColor(next);
            QCOMPARE(spy.count(), expectedSignals);
            if (expectedSignals > 0)
                QCOMPARE(spy.first().first().value<QColor>(), next);
        }
    }

    // Visible parameters get an item in their cell (ELabel an empty one), hidden ones none and are read
    // back as they are.
    void panelBuilding()
    {
        ZelParameterDescriptionContainerWidget panel(panelContainer());
        QCOMPARE(panel.findChildren<ZelParameterDescriptionWidgetItem*>().size(), 4);
        const QList<QPair<QString, QPoint>> cells{{"AFlag", {0, 0}}, {"BColor", {0, 1}}, {"CRatio", {1, 0}}};
        for (const auto& [name, cell] : cells) {
            QCOMPARE(itemFor(panel, name)->parentWidget(), &panel);
            QCOMPARE(cellOf(panel, itemFor(panel, name)), cell);
        }
        const ZelUIParameterMap uiValues{{"AFlag", {true, true}}, {"BColor", {QColor(255, 0, 0), true}},
                                         {"CRatio", {25, true}}};
        QCOMPARE(panel.parameterUIValues(), uiValues);
        QVERIFY(!itemFor(panel, "DHidden"));
        QCOMPARE(panel.parameters().value("DHidden"), QVariant(7));
        QCOMPARE(panel.parameters().value("ELabel"), QVariant(QStringLiteral("Text")));
        auto* slider = qobject_cast<QSlider*>(editorFor(panel, "CRatio"));
        QVERIFY(slider);
        QCOMPARE(QPoint(slider->minimum(), slider->maximum()), QPoint(0, 100));
        QCOMPARE(slider->objectName(), QString("CRatioSlider"));
        QVERIFY(!slider->hasTracking()); // the value is taken when the handle is let go
    }

    void panelEditEmitsChangedAndReadsBack_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("uiValue");
        QTest::addColumn<int>("expectedSignals");
        QTest::newRow("check box toggled") << "AFlag" << QVariant(false) << 1;
        QTest::newRow("check box unchanged") << "AFlag" << QVariant(true) << 0;
        QTest::newRow("colour with alpha") << "BColor" << QVariant(QColor(0, 255, 0, 90)) << 1;
        QTest::newRow("slider moved") << "CRatio" << QVariant(40) << 1;
        QTest::newRow("slider unchanged") << "CRatio" << QVariant(25) << 0;
    }
    // An edit emits changed() once when it changes the value; parameters() reads the editors back and keeps
    // the other values, names and places. Deliberate: the panel keeps a copy of the container, so the
    // numeric parameter is written while shared, turns plain and stores the slider's value unmapped.
    void panelEditEmitsChangedAndReadsBack()
    {
        QFETCH(QString, name);
        QFETCH(QVariant, uiValue);
        const ZelParameterDescriptionContainer original = panelContainer();
        ZelParameterDescriptionContainerWidget panel(original);
        QSignalSpy spy(&panel, &ZelParameterDescriptionContainerWidget::changed);
        itemFor(panel, name)->setValue(name, uiValue);
        QTEST(spy.count(), "expectedSignals");
        const ZelParameterDescriptionContainer read = panel.parameters();
        QCOMPARE(read.value(name), uiValue);
        for (const QString& other : original.parameterNames()) {
            if (other != name && other != "CRatio")
                QCOMPARE(read.value(other), original.value(other));
            QCOMPARE(read.position(other), original.position(other));
        }
    }

    void panelSwitchOffGivesDefault_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("editorValue");
        QTest::addColumn<QVariant>("defaultValue");
        QTest::newRow("colour") << "BColor" << QVariant(QColor(0, 255, 0)) << QVariant(QColor(0, 0, 255));
        QTest::newRow("number") << "CRatio" << QVariant(80) << QVariant(0.5);
    }
    void panelSwitchOffGivesDefault()
    {
        QFETCH(QString, name);
        QFETCH(QVariant, editorValue);
        QFETCH(QVariant, defaultValue);
        ZelParameterDescriptionContainerWidget panel(panelContainer());
        itemFor(panel, name)->setValue(name, editorValue);
        QSignalSpy spy(&panel, &ZelParameterDescriptionContainerWidget::changed);
        clickGroupBoxCheck(panel, name);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(panel.parameterUIValues().value(name).second, false);
        QCOMPARE(panel.parameters().value(name), defaultValue);
        clickGroupBoxCheck(panel, name);
        QCOMPARE(spy.count(), 2);
        QCOMPARE(panel.parameters().value(name), editorValue);
    }

    // update() sets the existing editors and keeps the switches; it builds no editor for a parameter
    // the panel was built without.
    void panelRefresh()
    {
        ZelParameterDescriptionContainerWidget panel(panelContainer());
        clickGroupBoxCheck(panel, "BColor");
        ZelParameterDescriptionContainer updated = panelContainer();
        updated.setValue("AFlag", false);
        updated.setValue("BColor", QColor(0, 128, 0, 200));
        updated.setValue("CRatio", 0.75);
        updated.setValue("DHidden", 11);
        updated.setValue("FExtra", true);
        panel.update(updated);
        QCOMPARE(editorFor(panel, "AFlag")->property("checked"), QVariant(false));
        QCOMPARE(editorFor(panel, "BColor")->property("color"), QVariant(QColor(0, 128, 0, 200)));
        QCOMPARE(editorFor(panel, "CRatio")->property("value"), QVariant(75));
        QVERIFY(!panel.parameterUIValues().contains("FExtra"));
        const ZelParameterDescriptionContainer read = panel.parameters();
        QCOMPARE(read.value("BColor"), QVariant(QColor(0, 0, 255)));
        QCOMPARE(read.value("DHidden"), QVariant(11));
        QCOMPARE(read.value("FExtra"), QVariant(true));
    }

    // A parameter filed by a setter has no grid place; its item still gets a cell of its own rather
    // than negative cells. Parameters filed at the same place share it.
    void panelParameterWithoutPlace()
    {
        ZelParameterDescriptionContainer container("TestEffect", QString());
        container.add(plainParameter("BPlaced", false, false), 0, 0);
        container.add(plainParameter("COverlaid", true, true), 0, 0);
        container.setValue("AUnplaced", true);
        ZelParameterDescriptionContainerWidget panel(container);
        QSet<QPair<int, int>> cells;
        for (ZelParameterDescriptionWidgetItem* item : panel.findChildren<ZelParameterDescriptionWidgetItem*>()) {
            const QPoint cell = cellOf(panel, item);
            QVERIFY(cell.x() >= 0 && cell.y() >= 0);
            cells.insert(qMakePair(cell.x(), cell.y()));
        }
        QCOMPARE(cells.size(), 2);
        QCOMPARE(cellOf(panel, itemFor(panel, "COverlaid")), QPoint(0, 0));
        itemFor(panel, "BPlaced")->setValue("BPlaced", true);
        QCOMPARE(panel.parameters().value("BPlaced"), QVariant(true));
        QCOMPARE(panel.parameters().value("COverlaid"), QVariant(true));
    }
};

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
