#include "FitsCards.h"

#include "FitsHeader.h"

namespace ep {
namespace fits {
namespace {

QByteArray nameField(const char* name)
{
    return QByteArray(name).leftJustified(8);
}

}  // namespace

QByteArray valueCard(const char* name, const QByteArray& value)
{
    return (nameField(name) + "= " + value.rightJustified(20)).leftJustified(cardBytes);
}

QByteArray stringCard(const char* name, const QByteArray& text)
{
    QByteArray quoted = text;
    quoted.replace('\'', "''");
    return (nameField(name) + "= '" + quoted.leftJustified(8) + '\'').leftJustified(cardBytes);
}

QByteArray remarkCard(const char* name, const QByteArray& text)
{
    return (nameField(name) + text).leftJustified(cardBytes);
}

QByteArray realText(double value)
{
    QByteArray text = QByteArray::number(value, 'g', 17).toUpper();
    // The shortest digits that give the same number are what people wrote.
    for (int digits = 1; digits < 17; ++digits) {
        const QByteArray shorter = QByteArray::number(value, 'g', digits).toUpper();
        if (shorter.toDouble() == value) {
            text = shorter;
            break;
        }
    }
    if (!text.contains('.') && !text.contains('E'))
        text += '.';
    return text;
}

}  // namespace fits
}  // namespace ep
