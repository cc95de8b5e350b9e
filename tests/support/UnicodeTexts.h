/**
 * @file
 * Texts of everything that UTF-16 can hold, sound or not.
 */
#pragma once

#include <QString>
#include <QtTest>

#include <random>

namespace testing {

/** Every code point of the plane @p plane; those of plane 0 include every surrogate by itself. */
inline QString unicodePlane(uint plane)
{
    constexpr uint codePoints = 0x10000;
    QString text;
    for (uint i = 0; i < codePoints; ++i) {
        // In falling order no two halves make a pair.
        const uint c = plane * codePoints + codePoints - 1 - i;
        if (plane == 0)
            text += QChar(static_cast<ushort>(c));
        else
            (text += QChar(QChar::highSurrogate(c))) += QChar(QChar::lowSurrogate(c));
    }
    return text;
}

/** Units without rule, half of them from where the oddities are. */
inline QString randomUnits(quint32 seed)
{
    std::mt19937 random(seed);
    QString text;
    for (quint32 i = 0, n = random() % 40; i < n; ++i) {
        const quint32 bits = random();
        const quint32 odd[] = {bits % 0x20, 0xd800 + bits % 0x800, 0xfff0 + bits % 16, 0x80 + bits % 0x20};
        text += QChar(static_cast<ushort>(random() % 2 ? odd[random() % 4] : bits % 0x10000));
    }
    return text;
}

/** Rows of such texts in a column "text", @p randomTexts of them without rule. */
inline void addUnicodeTexts(quint32 randomTexts)
{
    QTest::addColumn<QString>("text");
    for (uint plane = 0; plane <= 16; ++plane)
        QTest::addRow("all of plane %u", plane) << unicodePlane(plane);
    const QChar nul(0), high(0xd83d), low(0xde00), mark(0xfffe);
    QTest::newRow("one NUL") << QString(nul);
    QTest::newRow("NUL inside") << QStringLiteral("a") + nul + QStringLiteral("b");
    QTest::newRow("a high surrogate at the end") << QStringLiteral("a") + high;
    QTest::newRow("a low surrogate at the beginning") << low + QStringLiteral("a");
    QTest::newRow("surrogates the wrong way round") << QString(low) + high;
    QTest::newRow("a high surrogate before a pair") << QString(high) + high + low;
    QTest::newRow("U+FFFE, U+FFFF and U+FFFD") << QString(mark) + QChar(0xffff) + QChar(0xfffd);
    QTest::newRow("a byte order mark") << QString(QChar(0xfeff)) + QStringLiteral("a");
    QTest::newRow("combining characters, not composed") << QString::fromUtf8("e\xcc\x81 a\xcc\x8a\xcc\xa7 \xcc\x81");
    QTest::newRow("the same, composed") << QString::fromUtf8("\xc3\xa9 \xc3\xa5");
    QTest::newRow("right to left and marks of direction")
        << QString::fromUtf8("\xd7\xa9\xe2\x80\xae\xd9\x85\xe2\x81\xa9");
    QTest::newRow("line ends of every kind") << QString::fromUtf8("\r \n \r\n \xc2\x85 \xe2\x80\xa8 \xe2\x80\xa9");
    QTest::newRow("markup") << QStringLiteral("]]>&amp;<!--\"'--><?x?>");
    for (quint32 seed = 0; seed < randomTexts; ++seed)
        QTest::addRow("random units %u", seed) << randomUnits(seed);
}

}  // namespace testing
