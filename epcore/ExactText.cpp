#include "ExactText.h"

#include "AsciiXml.h"

namespace ep {

namespace {

constexpr int digitsPerUnit = 4;

/** The UTF-16 units in @p digits; false when these are something else. */
bool fromDigits(const QString& digits, QString& text)
{
    if (digits.isEmpty() || digits.size() % digitsPerUnit != 0)
        return false;
    text.clear();
    text.reserve(digits.size() / digitsPerUnit);
    for (int at = 0; at < digits.size(); at += digitsPerUnit) {
        bool isNumber = false;
        text += QChar(digits.midRef(at, digitsPerUnit).toUShort(&isNumber, 16));
        if (!isNumber)
            return false;
    }
    return true;
}

}  // namespace

bool isHeldByXml(const QString& text)
{
    for (int i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        if (xmlCodePointAt(text, i) == QChar::ReplacementCharacter && character != QChar::ReplacementCharacter)
            return false;
    }
    return true;
}

void keepExactText(const QString& text, const char* attribute, QDomElement& element)
{
    if (isHeldByXml(text))
        return;
    QString digits;
    for (const QChar unit : text)
        digits += QString::number(unit.unicode(), 16).rightJustified(digitsPerUnit, QLatin1Char('0'));
    element.setAttribute(QLatin1String(attribute), digits);
}

QString exactText(const QDomElement& element, const char* attribute, const QString& text)
{
    QString exact;
    return fromDigits(element.attribute(QLatin1String(attribute)), exact) ? exact : text;
}

}  // namespace ep
