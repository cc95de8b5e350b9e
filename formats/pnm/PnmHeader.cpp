#include "PnmHeader.h"

#include "PnmScanner.h"

#include <cmath>
#include <limits>

namespace ep {
namespace pnm {
namespace {

constexpr qint64 largestSide = std::numeric_limits<qint32>::max();

bool fail(SxFileError& error, const QString& reason, ExFileError kind = ExFileError::Unreadable)
{
    error = {kind, reason};
    return false;
}

/** Checks a number of a header; below 0 means that @p found stands in its place. */
bool takeNumber(qint64 number, qint64 limit, const QString& name, const QString& found, qint32& value,
                SxFileError& error)
{
    if (number < 0)
        return fail(error, QStringLiteral("its header has %1 where the %2 should be").arg(found, name));
    if (number == 0)
        return fail(error, QStringLiteral("its header says that the %1 is 0").arg(name));
    if (number > limit)
        return fail(error, QStringLiteral("its %1 is larger than %2").arg(name).arg(limit), ExFileError::Unsupported);
    value = static_cast<qint32>(number);
    return true;
}

bool readNumber(PnmScanner& scanner, qint64 limit, const QString& name, qint32& value, SxFileError& error)
{
    const qint64 number = scanner.number(limit);
    return takeNumber(number, limit, name, number < 0 ? scanner.quoteNext() : QString(), value, error);
}

bool readScale(PnmScanner& scanner, double& scale, SxFileError& error)
{
    const QByteArray word = scanner.word();
    bool isNumber = false;
    scale = word.toDouble(&isNumber);
    if (isNumber && std::isfinite(scale) && scale != 0)
        return true;
    const QString found = word.isEmpty() ? scanner.quoteNext() : QStringLiteral("\"%1\"").arg(QLatin1String(word));
    return fail(error, QStringLiteral("its header has %1 where the scale should be").arg(found));
}

bool readMagic(PnmScanner& scanner, PnmHeader& header, SxFileError& error)
{
    if (scanner.peek() == -1)
        return fail(error, QStringLiteral("the file is empty"));
    const bool beginsWell = scanner.peek() == 'P';
    if (beginsWell)
        scanner.skip();
    const int digit = beginsWell ? scanner.peek() : -1;
    if (digit == -1 || isBlank(digit))
        return fail(error, QStringLiteral("the file does not begin like a portable map"));
    scanner.skip();
    const int next = scanner.peek();
    if (!isBlank(next) && next != '#' && next != -1)
        return fail(error, QStringLiteral("the file does not begin like a portable map"));

    header.ascii = digit >= '1' && digit <= '3';
    switch (digit) {
    case '1':
    case '4': header.kind = PnmKind::Bitmap; break;
    case '2':
    case '5': header.kind = PnmKind::Graymap; break;
    case '3':
    case '6': header.kind = PnmKind::Pixmap; break;
    case '7': header.kind = PnmKind::Arbitrary; break;
    case 'f':
    case 'F': header.kind = PnmKind::FloatMap; break;
    default: return fail(error, QStringLiteral("the file does not begin like a portable map"));
    }
    header.channels = digit == '3' || digit == '6' || digit == 'F' ? 3 : 1;
    return true;
}

/** A number written in digits alone; -1 for anything else; past @p limit: limit + 1. */
qint64 numberOf(const QByteArray& text, qint64 limit)
{
    qint64 value = text.isEmpty() ? -1 : 0;
    for (const char character : text) {
        if (character < '0' || character > '9')
            return -1;
        value = qMin(value * 10 + (character - '0'), limit + 1);
    }
    return value;
}

struct ArbitraryField {
    const char* keyword;
    const char* name;
    qint64 limit;
    qint32 PnmHeader::*value;
};

constexpr ArbitraryField arbitraryFields[] = {{"WIDTH", "width", largestSide, &PnmHeader::width},
                                              {"HEIGHT", "height", largestSide, &PnmHeader::height},
                                              {"DEPTH", "number of channels", mostChannels, &PnmHeader::channels},
                                              {"MAXVAL", "largest sample", largestMaxval, &PnmHeader::maxval}};

QString quoted(const QByteArray& text)
{
    return QStringLiteral("\"%1\"").arg(QString::fromLatin1(text.left(32)));
}

bool takeArbitraryLine(const QByteArray& line, PnmHeader& header, SxFileError& error)
{
    const int end = line.indexOf(' ') < 0 ? line.size() : line.indexOf(' ');
    const QByteArray keyword = line.left(end);
    const QByteArray value = line.mid(end).trimmed();
    if (keyword == "TUPLTYPE") {
        header.tupleType += (header.tupleType.isEmpty() ? "" : " ") + value;
        return true;
    }
    for (const ArbitraryField& field : arbitraryFields)
        if (keyword == field.keyword)
            return takeNumber(numberOf(value, field.limit), field.limit, QLatin1String(field.name), quoted(value),
                              header.*field.value, error);
    return fail(error, QStringLiteral("its header has the unknown line %1").arg(quoted(line)));
}

bool readArbitrary(PnmScanner& scanner, PnmHeader& header, SxFileError& error)
{
    header.width = header.height = header.channels = header.maxval = 0;
    for (;;) {
        if (scanner.peek() == -1)
            return fail(error, QStringLiteral("the file ends inside its header"));
        QByteArray line = scanner.line().trimmed();
        line.replace('\t', ' ');
        if (line == "ENDHDR")
            break;
        if (!line.isEmpty() && !takeArbitraryLine(line, header, error))
            return false;
    }
    for (const ArbitraryField& field : arbitraryFields)
        if (header.*field.value == 0)
            return fail(error, QStringLiteral("its header does not say %1").arg(QLatin1String(field.keyword)));
    return true;
}

bool readWords(PnmScanner& scanner, PnmHeader& header, SxFileError& error)
{
    if (!readNumber(scanner, largestSide, QStringLiteral("width"), header.width, error)
        || !readNumber(scanner, largestSide, QStringLiteral("height"), header.height, error))
        return false;
    if (header.kind == PnmKind::FloatMap && !readScale(scanner, header.scale, error))
        return false;
    if ((header.kind == PnmKind::Graymap || header.kind == PnmKind::Pixmap)
        && !readNumber(scanner, largestMaxval, QStringLiteral("largest sample"), header.maxval, error))
        return false;
    scanner.skipSeparator();
    return true;
}

QByteArray commentText(const PnmHeader& header)
{
    QByteArray text;
    for (const QByteArray& comment : header.comments)
        text += '#' + comment + '\n';
    return text;
}

QByteArray arbitraryText(const PnmHeader& header)
{
    QByteArray text = "P7\n" + commentText(header);
    for (const ArbitraryField& field : arbitraryFields)
        text += QByteArray(field.keyword) + ' ' + QByteArray::number(header.*field.value) + '\n';
    if (!header.tupleType.isEmpty())
        text += "TUPLTYPE " + header.tupleType + '\n';
    return text + "ENDHDR\n";
}

}  // namespace

qint32 PnmHeader::bitDepth() const
{
    if (kind == PnmKind::FloatMap)
        return 32;
    qint32 bits = 1;
    while (maxval >> bits)
        ++bits;
    return bits;
}

qint64 PnmHeader::rasterRowBytes() const
{
    return kind == PnmKind::Bitmap ? (static_cast<qint64>(width) + 7) / 8 : rowSamples() * sampleBytes();
}

bool readHeader(PnmScanner& scanner, PnmHeader& header, SxFileError& error)
{
    header = PnmHeader();
    if (!readMagic(scanner, header, error))
        return false;
    const bool sound =
        header.kind == PnmKind::Arbitrary ? readArbitrary(scanner, header, error) : readWords(scanner, header, error);
    header.comments = scanner.comments();
    return sound;
}

QByteArray headerText(const PnmHeader& header)
{
    const QByteArray size = QByteArray::number(header.width) + ' ' + QByteArray::number(header.height) + '\n';
    switch (header.kind) {
    case PnmKind::Arbitrary: return arbitraryText(header);
    case PnmKind::FloatMap:
        return (header.channels == 3 ? "PF\n" : "Pf\n") + size + QByteArray::number(header.scale, 'f', 1) + '\n';
    default: break;
    }
    const int digit = (header.kind == PnmKind::Bitmap    ? 1
                       : header.kind == PnmKind::Graymap ? 2
                                                         : 3)
                      + (header.ascii ? 0 : 3);
    QByteArray text = 'P' + QByteArray::number(digit) + '\n' + commentText(header) + size;
    if (header.kind != PnmKind::Bitmap)
        text += QByteArray::number(header.maxval) + '\n';
    return text;
}

}  // namespace pnm
}  // namespace ep
