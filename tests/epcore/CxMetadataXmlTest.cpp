#include <ep/CxMetadata.h>

#include <ep/CxRtti.h>
#include <ep/IxMetadataItem.h>
#include <ep/IxMetadataLoader.h>
#include <ep/IxMetadataSaver.h>

#include <QDomDocument>
#include <QtTest>

using ep::CxMetadata;

/** An item that is one text. */
class TextItem : public ep::IxMetadataItem {
    Q_OBJECT
public:
    Q_INVOKABLE explicit TextItem(const QString& itemText = QString()) : text(itemText) {}
    ep::IxMetadataItem* clone() const override { return new TextItem(text); }
    QString text;
};

/** An item that nobody can write. */
class UnservedItem : public ep::IxMetadataItem {
    Q_OBJECT
public:
    ep::IxMetadataItem* clone() const override { return new UnservedItem; }
};

/** Writes the text as a child element and as an attribute of that; some texts make it misbehave. */
class TextSaver : public ep::IxMetadataSaver {
    Q_OBJECT
public:
    Q_INVOKABLE TextSaver() = default;
    bool save(QDomDocument& doc, QDomElement& element, ep::IxMetadataItem* item) override
    {
        const QString text = qobject_cast<TextItem*>(item)->text;
        QDomElement child =
            doc.createElement(text == QLatin1String("bad name") ? QStringLiteral("a b") : QStringLiteral("value"));
        child.appendChild(doc.createTextNode(text));
        child.setAttribute(QStringLiteral("copy"), text);
        element.appendChild(child);
        if (text == QLatin1String("deep"))
            for (int level = 3; level < 400; ++level) {
                QDomElement deeper = doc.createElement(QStringLiteral("deeper"));
                child.appendChild(deeper);
                child = deeper;
            }
        return text != QLatin1String("refused");
    }
    QStringList supportedClasses() const override { return {QStringLiteral("TextItem")}; }
};

/** Serves the same class, later. */
class SecondTextSaver : public ep::IxMetadataSaver {
    Q_OBJECT
public:
    Q_INVOKABLE SecondTextSaver() = default;
    bool save(QDomDocument& doc, QDomElement& element, ep::IxMetadataItem*) override
    {
        element.appendChild(doc.createElement(QStringLiteral("second")));
        return true;
    }
    QStringList supportedClasses() const override { return {QStringLiteral("TextItem")}; }
};

class TextLoader : public ep::IxMetadataLoader {
    Q_OBJECT
public:
    Q_INVOKABLE TextLoader() { ++made; }
    bool load(const QDomElement& element, ep::IxMetadataItem* item) override
    {
        const QDomElement child = element.firstChild().toElement();
        auto* textItem = qobject_cast<TextItem*>(item);
        textItem->text = child.firstChild().toText().nodeValue();
        attribute = child.attribute(QStringLiteral("copy"));
        return textItem->text != QLatin1String("false");
    }
    QStringList supportedClasses() const override { return {QStringLiteral("TextItem"), QStringLiteral("NoSuchItem")}; }

    static inline QString attribute;
    static inline int made = 0;
};

class SecondTextLoader : public TextLoader {
    Q_OBJECT
public:
    Q_INVOKABLE SecondTextLoader() = default;
    bool load(const QDomElement&, ep::IxMetadataItem*) override { return false; }
};

class CxMetadataXmlTest : public QObject {
    Q_OBJECT

private:
    static QString textOf(const CxMetadata& metadata, int index)
    {
        const auto* item = qobject_cast<TextItem*>(metadata.items().at(index));
        return item ? item->text : QStringLiteral("not a text item");
    }
    static CxMetadata metadataOf(const QStringList& texts)
    {
        CxMetadata metadata;
        for (const QString& text : texts)
            metadata.addMetadata(new TextItem(text));
        return metadata;
    }
    static QString wrapped(const QString& items) { return QStringLiteral("<metadata>%1</metadata>").arg(items); }
    static QString textElement(const QString& text)
    {
        return QStringLiteral("<item class=\"TextItem\"><value copy=\"\">%1</value></item>").arg(text);
    }
    /** Elements nested so that the innermost stands @p depth deep, the root included. */
    static QString nested(int depth)
    {
        return wrapped(QStringLiteral("<a>").repeated(depth - 1) + QStringLiteral("</a>").repeated(depth - 1));
    }

private slots:
    void initTestCase()
    {
        ep::CxRtti* registry = ep::CxRtti::instance();
        registry->registerClass(nullptr, TextItem::staticMetaObject, QStringLiteral("IxMetadata"));
        registry->registerClass(nullptr, UnservedItem::staticMetaObject, QStringLiteral("IxMetadata"));
        registry->registerClass(nullptr, TextSaver::staticMetaObject, QStringLiteral("IxMetadataSaver"));
        registry->registerClass(nullptr, SecondTextSaver::staticMetaObject, QStringLiteral("IxMetadataSaver"));
        registry->registerClass(nullptr, TextLoader::staticMetaObject, QStringLiteral("IxMetadataLoader"));
        registry->registerClass(nullptr, SecondTextLoader::staticMetaObject, QStringLiteral("IxMetadataLoader"));
    }

    void layoutOfTheText()
    {
        const CxMetadata metadata = metadataOf({QStringLiteral("x"), QString()});
        QCOMPARE(metadata.saveToXml(-1),
                 wrapped(QStringLiteral("<item class=\"TextItem\"><value copy=\"x\">x</value></item>"
                                        "<item class=\"TextItem\"><value copy=\"\"/></item>")));
        QCOMPARE(metadata.saveToXml(2), QStringLiteral("<metadata>\n"
                                                       "  <item class=\"TextItem\">\n"
                                                       "    <value copy=\"x\">x</value>\n"
                                                       "  </item>\n"
                                                       "  <item class=\"TextItem\">\n"
                                                       "    <value copy=\"\"/>\n"
                                                       "  </item>\n"
                                                       "</metadata>\n"));
        QCOMPARE(CxMetadata().saveToXml(-1), QStringLiteral("<metadata/>"));
        QCOMPARE(CxMetadata().saveToXml(0), QStringLiteral("<metadata/>\n"));
    }

    void textsSurvive_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto same = [](const char* name, const QString& text) { QTest::newRow(name) << text << text; };
        const QString bad(QChar::ReplacementCharacter);
        same("plain text", QStringLiteral("plain"));
        same("letters outside ASCII", QString::fromUtf8("Größe été 写真"));
        same("an emoji is one character", QString::fromUtf8("😀"));
        same("markup", QStringLiteral("<a b=\"c\" d='e'>&amp;]]></a>"));
        same("only spaces", QStringLiteral("   "));
        same("white space at both ends", QStringLiteral(" \t\n x \n\t "));
        same("a carriage return", QStringLiteral("a\rb\r\nc\r"));
        same("only a carriage return", QStringLiteral("\r"));
        same("delete and C1 control characters, which XML holds", QString::fromUtf8("\x7f\xc2\x80\xc2\x9f"));
        same("a no-break space and a byte order mark", QString(QChar(0xA0)) + QChar(0xFEFF));
        QTest::newRow("control characters are replaced")
            << QStringLiteral("a\x01\b\v\x1f") << QLatin1Char('a') + bad.repeated(4);
        QTest::newRow("NUL is replaced") << QStringLiteral("a") + QChar(0) + QLatin1Char('b')
                                         << QLatin1Char('a') + bad + QLatin1Char('b');
        QTest::newRow("a lone high surrogate is replaced")
            << QStringLiteral("a") + QChar(0xD83D) << QLatin1Char('a') + bad;
        QTest::newRow("a lone low surrogate is replaced")
            << QString(QChar(0xDE00)) + QLatin1Char('a') << bad + QLatin1Char('a');
        QTest::newRow("surrogates in the wrong order are replaced")
            << QString(QChar(0xDE00)) + QChar(0xD83D) << bad + bad;
        QTest::newRow("non-characters are replaced") << QString(QChar(0xFFFE)) + QChar(0xFFFF) << bad + bad;
    }

    void textsSurvive()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        for (const int indent : {-1, 0, 3}) {
            const QString xml = metadataOf({text}).saveToXml(indent);
            for (const QChar c : xml)
                QVERIFY2(c.unicode() < 0x80 && (c.unicode() >= 0x20 || c.isSpace()), qPrintable(xml));
            CxMetadata read;
            QVERIFY(read.loadFromXml(xml));
            QCOMPARE(textOf(read, 0), expected);
            QCOMPARE(TextLoader::attribute, expected);
            QCOMPARE(read.saveToXml(indent), xml);
        }
    }

    void whatCannotBeWrittenIsLeftOut_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("an item whose saver says false") << QStringLiteral("refused");
        QTest::newRow("an item with an element name that is none") << QStringLiteral("bad name");
        QTest::newRow("an item nested too deep to be read again") << QStringLiteral("deep");
    }

    void whatCannotBeWrittenIsLeftOut()
    {
        QFETCH(QString, text);
        const QString xml = metadataOf({QStringLiteral("1"), text, QStringLiteral("2")}).saveToXml(-1);
        QCOMPARE(xml, metadataOf({QStringLiteral("1"), QStringLiteral("2")}).saveToXml(-1));
        CxMetadata unserved;
        unserved.addMetadata(new UnservedItem);
        QCOMPARE(unserved.saveToXml(-1), QStringLiteral("<metadata/>"));
    }

    void unsoundTextGivesFalseAndNoItem_data()
    {
        QTest::addColumn<QString>("xml");
        const QString item = textElement(QStringLiteral("x"));
        QTest::newRow("empty text") << QString();
        QTest::newRow("no XML") << QStringLiteral("hello");
        QTest::newRow("a root element that is not closed") << QStringLiteral("<metadata>") + item;
        QTest::newRow("a mismatched tag after an item") << wrapped(item + QStringLiteral("<a></b>"));
        QTest::newRow("text after the root element") << wrapped(item) + QStringLiteral("more");
        QTest::newRow("another root element") << QStringLiteral("<html>") + item + QStringLiteral("</html>");
        QTest::newRow("a document type") << QStringLiteral("<!DOCTYPE metadata>") + wrapped(item);
        QTest::newRow("entities that expand without end")
            << QStringLiteral("<!DOCTYPE metadata [<!ENTITY a \"x\"><!ENTITY b \"&a;&a;\">]>") + wrapped(item);
        QTest::newRow("an entity that is not declared") << wrapped(textElement(QStringLiteral("&a;")));
        QTest::newRow("a reference to no character") << wrapped(textElement(QStringLiteral("&#0;")));
        QTest::newRow("a reference to half a surrogate pair") << wrapped(textElement(QStringLiteral("&#xD800;")));
        QTest::newRow("a control character") << wrapped(textElement(QStringLiteral("\x01")));
        QTest::newRow("NUL") << wrapped(textElement(QString(QChar(0))));
        QTest::newRow("a comment that is not closed") << wrapped(item + QStringLiteral("<!-- "));
        QTest::newRow("a tag that is not closed") << wrapped(item + QStringLiteral("<a b='"));
        QTest::newRow("257 levels of nesting") << nested(257);
        QTest::newRow("100,000 levels of nesting") << nested(100000);
        QTest::newRow("100,000 open elements") << QStringLiteral("<metadata>").repeated(100000);
        QString attributes;
        for (int i = 0; i < 257; ++i)
            attributes += QStringLiteral(" a%1=\">\"").arg(i);
        QTest::newRow("257 attributes") << wrapped(QStringLiteral("<a%1/>").arg(attributes));
        QTest::newRow("the same attribute twice") << wrapped(QStringLiteral("<a b='' b=''/>"));
    }

    void unsoundTextGivesFalseAndNoItem()
    {
        QFETCH(QString, xml);
        CxMetadata metadata = metadataOf({QStringLiteral("old")});
        QVERIFY(!metadata.loadFromXml(xml));
        QVERIFY(metadata.isEmpty());
    }

    void limitsAreInclusive()
    {
        CxMetadata metadata;
        QVERIFY(metadata.loadFromXml(nested(256)));
        QCOMPARE(metadata.saveToXml(-1), nested(256).replace(QStringLiteral("<a></a>"), QStringLiteral("<a/>")));
        QString attributes;
        for (int i = 0; i < 256; ++i)
            attributes += QStringLiteral(" a%1=\"\"").arg(i);
        const QString element = wrapped(QStringLiteral("<!-- \" ' --><b%1/>").arg(attributes));
        QVERIFY(metadata.loadFromXml(element));
        QCOMPARE(metadata.items().size(), 1);
    }

    void emptyRootIsSound()
    {
        CxMetadata metadata = metadataOf({QStringLiteral("old")});
        QVERIFY(
            metadata.loadFromXml(QStringLiteral("<?xml version=\"1.0\"?>\n<!-- none -->\n<metadata>\n</metadata>\n")));
        QVERIFY(metadata.isEmpty());
    }

    void formattingBetweenElementsIsDroppedAndCdataIsText()
    {
        CxMetadata metadata;
        const QString xml = wrapped(QStringLiteral("\n text <item class='TextItem'>\n\t<!-- c --> <value copy='&lt;'>"
                                                   "<![CDATA[a<]]>&amp;<!-- c -->b</value>\n</item> "));
        QVERIFY(metadata.loadFromXml(xml));
        QCOMPARE(metadata.items().size(), 1);
        QCOMPARE(textOf(metadata, 0), QStringLiteral("a<&b"));
        QCOMPARE(TextLoader::attribute, QStringLiteral("<"));
    }

    void itemWhoseLoaderSaysFalseKeepsTheOthers()
    {
        CxMetadata metadata;
        const QString xml = wrapped(textElement(QStringLiteral("before")) + textElement(QStringLiteral("false"))
                                    + textElement(QStringLiteral("after")));
        QVERIFY(!metadata.loadFromXml(xml));
        QCOMPARE(metadata.items().size(), 3);
        QCOMPARE(textOf(metadata, 0), QStringLiteral("before"));
        QCOMPARE(textOf(metadata, 1), QStringLiteral("false"));
        QCOMPARE(textOf(metadata, 2), QStringLiteral("after"));
    }

    void unknownElementsAreKeptVerbatim_data()
    {
        QTest::addColumn<QString>("element");
        const auto row = [](const char* name, const char* element) {
            QTest::newRow(name) << QString::fromLatin1(element);
        };
        row("a class that nobody knows", "<item class=\"vendor::Item\"><a>1</a></item>");
        row("attributes in their order", "<item zeta=\"1\" class=\"vendor::Item\" alpha=\"&quot;&amp;&lt;&#10;\"/>");
        row("nested elements and white space", "<item class=\"v\">\n  <a> <b/>\ttext </a>\n</item>");
        row("only white space", "<item class=\"v\">   </item>");
        row("prefixes without a declaration", "<x:item x:class=\"v\" xmlns:y=\"urn:y\"><y:a/></x:item>");
        row("references", "<item class=\"v\">&#233;&#128512;&#13;</item>");
        row("comments and instructions", "<item class=\"v\"><!-- why --><?do it?><?done?></item>");
        row("no class at all", "<item><a/></item>");
        row("another element of a known class", "<other class=\"TextItem\"><a/></other>");
        row("a loader without the item's class", "<item class=\"NoSuchItem\"><a/></item>");
        row("an item's class without a loader", "<item class=\"UnservedItem\"><a/></item>");
    }

    void unknownElementsAreKeptVerbatim()
    {
        QFETCH(QString, element);
        const QString xml = wrapped(textElement(QStringLiteral("1")) + element + element
                                    + QStringLiteral("<item class=\"TextItem\"><value copy=\"2\">2</value></item>"));
        CxMetadata first;
        QVERIFY(first.loadFromXml(xml));
        QCOMPARE(first.items().size(), 4);
        QCOMPARE(textOf(first, 0), QStringLiteral("1"));
        QCOMPARE(textOf(first, 3), QStringLiteral("2"));
        const CxMetadata copy(first);
        const QString saved = copy.saveToXml(-1);
        QCOMPARE(saved.count(element + element), 1);
        CxMetadata second;
        QVERIFY(second.loadFromXml(copy.saveToXml(4)));
        QCOMPARE(second.saveToXml(-1), saved);
    }

    void unknownElementsBecomeAscii()
    {
        CxMetadata metadata;
        QVERIFY(metadata.loadFromXml(wrapped(QString::fromUtf8("<a b='é'>ü<![CDATA[<ö>]]><!--ä--></a>"))));
        QCOMPARE(metadata.saveToXml(-1), wrapped(QStringLiteral("<a b=\"&#233;\">&#252;&lt;&#246;&gt;<!--?--></a>")));
        // No reference can stand for a letter of a name.
        QVERIFY(metadata.loadFromXml(wrapped(QString::fromUtf8("<é/><b/>"))));
        QCOMPARE(metadata.items().size(), 2);
        QCOMPARE(metadata.saveToXml(-1), wrapped(QStringLiteral("<b/>")));
    }

    void manyItemsAskTheRegistryOnce()
    {
        constexpr int count = 100000;
        const QString xml = wrapped(textElement(QStringLiteral("x")).repeated(count));
        TextLoader::made = 0;
        CxMetadata metadata;
        QVERIFY(metadata.loadFromXml(xml));
        QCOMPARE(metadata.items().size(), count);
        QCOMPARE(TextLoader::made, 2);  // one object of each of the two loaders
        QCOMPARE(textOf(metadata, count - 1), QStringLiteral("x"));
    }
};

QTEST_GUILESS_MAIN(CxMetadataXmlTest)
#include "CxMetadataXmlTest.moc"
