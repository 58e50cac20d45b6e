#include "ZelParameterDescription.h"
#include "ZelParameterDescriptionContainer.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelParameterDescriptionNumber_p.h"

#include <QColor>
#include <QDomDocument>
#include <QSizeF>
#include <QtTest>
#include <typeinfo>

namespace {

template <class Parameter = ZelParameterDescription>
Parameter plainParameter(const QString& name, const QVariant& value)
{
    Parameter parameter;
    parameter.setParameterName(name);
    parameter.setVisibleName(name + " label");
    parameter.setValue(value);
    parameter.setDefaultValue(value);
    return parameter;
}

ZelParameterDescriptionNumber numberParameter(const QString& name, const QVariant& value, const QVariant& minimum,
                                              const QVariant& maximum)
{
    auto parameter = plainParameter<ZelParameterDescriptionNumber>(name, value);
    parameter.setRange(minimum, maximum);
    return parameter;
}

// A document with one element <settings/> to write parameters into.
struct Xml
{
    QDomDocument document;
    QDomElement element = document.appendChild(document.createElement("settings")).toElement();
};

// Tag name, attributes sorted by name, then the child elements in order: QDom keeps no attribute order.
QString form(const QDomElement& element)
{
    QStringList parts;
    for (int i = 0; i < element.attributes().count(); ++i)
        parts << element.attributes().item(i).nodeName() + '=' + element.attributes().item(i).nodeValue();
    parts.sort();
    parts.prepend(element.tagName());
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        parts << '(' + form(child) + ')';
    return parts.join(' ');
}

} // namespace

class TestParameters : public QObject
{
    Q_OBJECT

private slots:
    void equality_data()
    {
        QTest::addColumn<ZelParameterDescription>("left");
        QTest::addColumn<ZelParameterDescription>("right");
        QTest::addColumn<bool>("equal");
        const ZelParameterDescription base = plainParameter("Blur", 3);
        auto changed = [&base](auto change) {
            ZelParameterDescription parameter = base;
            change(parameter);
            return parameter;
        };
        using P = ZelParameterDescription&;
        const ZelParameterDescription numeric = numberParameter("Blur", 3, 0, 10);
        ZelParameterDescriptionNumber shown = numberParameter("Blur", 3, 0, 10);
        shown.setUserVisibleRange(0, 100);
        QTest::newRow("only enabled differs") << base << changed([](P p) { p.setEnabled(false); }) << true;
        QTest::newRow("only visibility differs") << base << changed([](P p) { p.setUIVisiblity(false); }) << true;
        QTest::newRow("visible name differs") << base << changed([](P p) { p.setVisibleName("other"); }) << false;
        QTest::newRow("value differs") << base << changed([](P p) { p.setValue(4); }) << false;
        QTest::newRow("default differs") << base << changed([](P p) { p.setDefaultValue(4); }) << false;
        QTest::newRow("checkable differs") << base << changed([](P p) { p.setCheckable(true); }) << false;
        QTest::newRow("plain and numeric") << base << numeric << false;
        QTest::newRow("numeric and plain") << numeric << base << false;
        QTest::newRow("numeric alike") << numeric << ZelParameterDescription(numberParameter("Blur", 3, 0, 10)) << true;
        QTest::newRow("range") << numeric << ZelParameterDescription(numberParameter("Blur", 3, 0, 11)) << false;
        QTest::newRow("shown range") << numeric << ZelParameterDescription(shown) << false;
    }
    void equality()
    {
        QFETCH(ZelParameterDescription, left);
        QFETCH(ZelParameterDescription, right);
        QFETCH(bool, equal);
        QCOMPARE(left == right, equal);
        QCOMPARE(left != right, !equal);
    }

    // Writing sets one attribute; reading converts the attribute to the current type where it can. Colours
    // are inverted on purpose: a readable one leaves the value alone, a missing or unreadable one invalidates it.
    void xml_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("read"); // a null string: the attribute is missing
        QTest::addColumn<QVariant>("after");
        const QVariant blue = QColor(Qt::blue);
        QTest::newRow("bool") << QVariant(true) << "true" << "false" << QVariant(false);
        QTest::newRow("int") << QVariant(20) << "20" << "17" << QVariant(17);
        QTest::newRow("int from letters unchanged") << QVariant(20) << "20" << "abc" << QVariant(20);
        QTest::newRow("double") << QVariant(2.5) << "2.5" << "2.25" << QVariant(2.25);
        QTest::newRow("string may become empty") << QVariant("x") << "x" << QString() << QVariant(QString(""));
        QTest::newRow("colour drops alpha, kept") << QVariant(QColor(255, 0, 0, 128)) << "#ff0000" << "#00ff00"
                                                  << QVariant(QColor(255, 0, 0, 128));
        QTest::newRow("invalid colour") << QVariant(QColor()) << "#000000" << "#ff0000" << QVariant(QColor());
        QTest::newRow("missing colour invalidates") << blue << "#0000ff" << QString() << QVariant(QColor());
        QTest::newRow("unreadable colour invalidates") << blue << "#0000ff" << "nocolour" << QVariant(QColor());
    }
    void xml()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, read);
        QFETCH(QVariant, after);
        Xml written, toRead;
        ZelParameterDescription parameter = plainParameter("Key", value);
        parameter.toXml(written.element);
        QTEST(written.element.attribute("Key"), "written");
        QVERIFY(written.element.firstChildElement().isNull());
        if (!read.isNull())
            toRead.element.setAttribute("Key", read);
        parameter.setXML(toRead.element);
        QCOMPARE(parameter.value(), after);
        QCOMPARE(parameter.type(), after.type());
    }

    void sizeFTravelsAsIntegers()
    {
        Xml xml;
        plainParameter("Size", QSizeF(12.7, 3.2)).toXml(xml.element);
        QCOMPARE(form(xml.element), QString("settings (Size height=3 width=13)"));
        ZelParameterDescription reader = plainParameter("Size", QSizeF()), sizeReader = plainParameter("Size", QSize());
        reader.setXML(xml.element);
        sizeReader.setXML(xml.element);
        QCOMPARE(reader.value(), QVariant(QSizeF(13, 3)));
        QCOMPARE(sizeReader.value(), QVariant(QSize(13, 3)));
        reader.setXML(Xml().element);
        QCOMPARE(reader.value(), QVariant(QSizeF(13, 3)));
    }

    // Qt's conversion of a double to int rounds half away from zero: 35 shown gives 3.5, stored 4.
    void uiMapping_data()
    {
        QTest::addColumn<QVariantList>("range"); // value, minimum, maximum, shown minimum, shown maximum
        QTest::addColumn<QVariantList>("ui");    // expected UI value, UI value to set, expected value
        QTest::newRow("double") << QVariantList{0.25, 0.0, 1.0, 0, 100} << QVariantList{25.0, 40, 0.4};
        QTest::newRow("int rounds") << QVariantList{3, 0, 10, 0, 100} << QVariantList{30, 35, 4};
        QTest::newRow("no clamping") << QVariantList{3, 0, 10, 0, 100} << QVariantList{30, 150, 15};
        QTest::newRow("offset ranges") << QVariantList{5.0, -5.0, 5.0, 100, 200} << QVariantList{200.0, 150, 0.0};
        QTest::newRow("no shown range: identity") << QVariantList{3, 0, 1} << QVariantList{3, 150.5, 150.5};
        QTest::newRow("string UI value converts") << QVariantList{0.5, 0.0, 1.0, 0, 10} << QVariantList{5.0, "2", 0.2};
    }
    void uiMapping()
    {
        QFETCH(QVariantList, range);
        QFETCH(QVariantList, ui);
        ZelParameterDescriptionNumber parameter = numberParameter("Key", range[0], range[1], range[2]);
        const bool shown = range.size() > 3;
        if (shown)
            parameter.setUserVisibleRange(range[3], range[4]);
        QCOMPARE(static_cast<const ZelParameterDescription&>(parameter).uiValue(), ui[0]);
        QCOMPARE(parameter.defaultUIValue(), ui[0]);
        QCOMPARE(parameter.minUserVisibleValue(), range[shown ? 3 : 1]);
        QCOMPARE(parameter.maxUserVisibleValue(), range[shown ? 4 : 2]);
        parameter.setUIValue(ui[1]);
        QCOMPARE(parameter.value().type(), (shown ? range[0] : ui[1]).type());
        QVERIFY2(qFuzzyCompare(parameter.value().toDouble() + 1, ui[2].toDouble() + 1),
                 qPrintable(parameter.value().toString()));
    }

    // The first write through a copy detaches the shared data into plain data: a numeric parameter
    // written through a shared copy loses its mapping, the original keeps it. The numeric accessors
    // detach like writers.
    void numericWrittenThroughACopyTurnsPlain()
    {
        ZelParameterDescriptionNumber number = numberParameter("Key", 3, 0, 10);
        number.setUserVisibleRange(0, 100);
        ZelParameterDescription copy = number;
        copy.setValue(5);
        QCOMPARE(number.value(), QVariant(3));
        copy.setUIValue(70);
        QCOMPARE(copy.value(), QVariant(70));
        QVERIFY(!dynamic_cast<const ZelParameterDescriptionNumberImpl*>(copy.constData()));
        QCOMPARE(number.uiValue(), QVariant(30));
        ZelParameterDescriptionNumber numericCopy = number;
        QCOMPARE(numericCopy.min(), QVariant());
        QCOMPARE(numericCopy.uiValue(), QVariant(3));
        const auto* numberData = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(number.constData());
        QVERIFY(numberData);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("types"));
        QVERIFY(!numberData->equals(plainParameter("Key", 3).constData()));
    }

    // Setters on an unknown name file a parameter without a place or a name of its own (contains(),
    // which scans the names, misses it); readers never insert; add() replaces by name.
    void containerKeys()
    {
        ZelParameterDescriptionContainer container("Type", QString());
        QCOMPARE(container.parameter("Missing").type(), QVariant::Invalid);
        QVERIFY(container.isEmpty());
        container.setValue("Missing", 5);
        QCOMPARE(container.value("Missing"), QVariant(5));
        QCOMPARE(container.position("Missing"), QPoint(-1, -1));
        QVERIFY(!container.contains("Missing"));
        container.setDefaultValue("Other", 7);
        container.setValueToDefault("Other");
        QCOMPARE(container.value("Other"), QVariant(7));
        container.setUIValue("Third", 1.5);
        container.add(plainParameter("Blur", 1), 0, 0);
        QVERIFY(container.contains("Blur"));
        container.add(plainParameter("Blur", 2), 3, 1);
        QCOMPARE(container.parameters().size(), 4);
        QCOMPARE(container.value("Blur"), QVariant(2));
        QCOMPARE(container.position("Blur"), QPoint(3, 1));
        container.remove("Blur");
        container.remove("Unknown");
        QCOMPARE(container.parameterNames(), (QStringList{"Missing", "Other", "Third"}));
    }

    // UI values are mapped into the value range, switched-off entries reset to their default; a
    // container copy written while it shares a numeric parameter stores the UI value unmapped.
    void containerUIValues()
    {
        ZelParameterDescriptionContainer original("Type", QString());
        ZelParameterDescriptionNumber strength = numberParameter("AStrength", 0.5, 0.0, 1.0);
        strength.setUserVisibleRange(0, 100);
        original.add(strength, 0, 0);
        strength = ZelParameterDescriptionNumber(); // the container holds the only reference
        original.add(plainParameter("BBlur", 3), 1, 0);
        original.setValue("BBlur", 9);
        ZelParameterDescriptionContainer copy = original;
        copy.setUIValue("AStrength", 40);
        QCOMPARE(copy.value("AStrength"), QVariant(40));
        QCOMPARE(original.value("AStrength"), QVariant(0.5));
        ZelUIParameterMap map;
        map.insert("AStrength", qMakePair(QVariant(20), true));
        map.insert("BBlur", qMakePair(QVariant(100), false));
        original.setUIParameters(map);
        QCOMPARE(original.value("AStrength"), QVariant(0.2));
        QCOMPARE(original.value("BBlur"), QVariant(3));
    }

    void containerEquality_data()
    {
        QTest::addColumn<QString>("rightType");
        QTest::addColumn<QPoint>("rightPlace");
        QTest::addColumn<QString>("rightTag");
        QTest::addColumn<QVariant>("rightValue");
        QTest::addColumn<bool>("equal");
        QTest::newRow("identical") << "Type" << QPoint(0, 0) << QString() << QVariant(1) << true;
        QTest::newRow("places and tags differ") << "Type" << QPoint(4, 2) << "tag" << QVariant(1) << true;
        QTest::newRow("type names differ") << "Other" << QPoint(0, 0) << QString() << QVariant(1) << false;
        QTest::newRow("values differ") << "Type" << QPoint(0, 0) << QString() << QVariant(2) << false;
        QTest::newRow("sizes differ") << "Type" << QPoint(0, 0) << QString() << QVariant() << false;
    }
    void containerEquality()
    {
        QFETCH(QString, rightType);
        QFETCH(QPoint, rightPlace);
        QFETCH(QString, rightTag);
        QFETCH(QVariant, rightValue);
        QFETCH(bool, equal);
        ZelParameterDescriptionContainer left("Type", QString()), right(rightType, rightTag);
        left.add(plainParameter("Blur", 1), 0, 0);
        right.add(plainParameter("Blur", 1), rightPlace.x(), rightPlace.y());
        if (rightValue.isValid())
            right.setValue("Blur", rightValue);
        else
            right.add(plainParameter("Extra", 1), 1, 0);
        QCOMPARE(left == right, equal);
        QCOMPARE(left != right, !equal);
    }

    // One element named after the tag name once one is set, else after the type name: simple values as
    // attributes, sizes as child elements in the parameters' order. Reading it back changes nothing.
    void containerXml()
    {
        ZelParameterDescriptionContainer container("T", QString());
        container.add(numberParameter("AWaveLength", 20, 1, 100), 0, 0);
        container.add(plainParameter("BAmplitude", 2.5), 1, 0);
        container.add(plainParameter("CSize", QSize(4, 5)), 2, 0);
        container.add(plainParameter("DSize", QSizeF(1, 2)), 3, 0);
        Xml xml, tagged;
        container.toXml(xml.element);
        QCOMPARE(form(xml.element), QString("settings (T AWaveLength=20 BAmplitude=2.5 (CSize height=5 width=4) "
                                            "(DSize height=2 width=1))"));
        container.setXMLTagName("WaveSettings");
        container.toXml(tagged.element);
        QCOMPARE(tagged.element.firstChildElement().tagName(), QString("WaveSettings"));
        const ZelParameterDescriptionContainer before = container;
        tagged.element.firstChildElement().setAttribute("AWaveLength", "77");
        container.setXML(tagged.element);
        container.setXML(Xml().element);
        QVERIFY(container == before);
        const QString type = typeid(ZelParameterDescription).name(); // the value class, numeric or not
        QCOMPARE(container.parameterTypes(), (QStringList{type, type, type, type}));
    }
};

QTEST_MAIN(TestParameters)
#include "tst_parameters.moc"
