#include "HeifHeader.h"

#include <QDataStream>
#include <QFile>
#include <QMultiHash>

#include <algorithm>

namespace ep {
namespace oiio {
namespace {

constexpr quint32 code(const char (&name)[5])
{
    return quint32(quint8(name[0])) << 24 | quint32(quint8(name[1])) << 16 | quint32(quint8(name[2])) << 8
           | quint8(name[3]);
}

/** A piece of the file, behind its size and its name. */
struct Box {
    quint32 name = 0;
    qint64 end = 0;  ///< in the file
};

/** Reads the head of the box at the stream's place. False when there is none before @p end, where it would end, too. */
bool readBox(QDataStream& stream, qint64 end, Box& box)
{
    constexpr quint32 sizeFollows = 1;
    constexpr int longNameBytes = 16;
    const qint64 begin = stream.device()->pos();
    quint32 size = 0;
    stream >> size >> box.name;
    qint64 bytes = size;
    if (size == sizeFollows)
        stream >> bytes;
    if (box.name == code("uuid"))
        stream.skipRawData(longNameBytes);
    const qint64 rest = end - begin;
    box.end = begin + (bytes <= 0 ? rest : std::min(bytes, rest));
    return stream.status() == QDataStream::Ok && stream.device()->pos() <= box.end;
}

template <typename Take>
void forEachBox(QDataStream& stream, qint64 end, Take take)
{
    for (Box box; stream.device()->pos() < end && readBox(stream, end, box); stream.device()->seek(box.end))
        take(box);
}

/** Which pictures each picture is made of. */
class HeifPictures {
public:
    /** Takes what the box of references at the stream's place holds. */
    void readReferences(QDataStream& stream, qint64 end);
    bool canBeDecoded() const;

private:
    bool canBeDecoded(quint32 picture, int depth, int& visits) const;

    static constexpr int most = 1 << 18;  // references; a picture has 65,536 tiles at most
    QMultiHash<quint32, quint32> m_parts;
    bool m_hasTooMany = false;
};

void HeifPictures::readReferences(QDataStream& stream, qint64 end)
{
    quint32 versionAndFlags = 0;
    stream >> versionAndFlags;
    const bool isLong = versionAndFlags >> 24 != 0;
    const auto readNumber = [&] {
        quint16 number = 0;
        quint32 longNumber = 0;
        isLong ? stream >> longNumber : stream >> number;
        return isLong ? longNumber : number;
    };
    // One behind the other, whatever their sizes say: so does the library.
    for (Box reference; stream.device()->pos() < end && readBox(stream, end, reference);) {
        const quint32 from = readNumber();
        quint16 count = 0;
        stream >> count;
        for (; count > 0 && stream.device()->pos() < end && !m_hasTooMany; --count) {
            const quint32 to = readNumber();
            if (reference.name == code("dimg"))
                m_parts.insert(from, to);
            else if (reference.name == code("auxl"))
                m_parts.insert(to, from);  // a mask is decoded with its picture
            m_hasTooMany = m_parts.size() > most;
        }
    }
}

bool HeifPictures::canBeDecoded() const
{
    int visits = 0;
    const QList<quint32> pictures = m_parts.uniqueKeys();
    return !m_hasTooMany && std::all_of(pictures.begin(), pictures.end(), [&](quint32 picture) {
        return canBeDecoded(picture, 0, visits);
    });
}

bool HeifPictures::canBeDecoded(quint32 picture, int depth, int& visits) const
{
    constexpr int deepest = 16;
    if (depth > deepest || ++visits > most)
        return false;
    for (auto part = m_parts.constFind(picture); part != m_parts.constEnd() && part.key() == picture; ++part)
        if (!canBeDecoded(part.value(), depth + 1, visits))
            return false;
    return true;
}

}  // namespace

QString heifFlaw(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QDataStream stream(&file);
    HeifPictures pictures;
    forEachBox(stream, file.size(), [&](const Box& box) {
        quint32 versionAndFlags = 0;
        if (box.name != code("meta"))
            return;
        stream >> versionAndFlags;
        forEachBox(stream, box.end, [&](const Box& inner) {
            if (inner.name == code("iref"))
                pictures.readReferences(stream, inner.end);
        });
    });
    return pictures.canBeDecoded() ? QString()
                                   : QStringLiteral("its pictures are made of more others than can be decoded");
}

}  // namespace oiio
}  // namespace ep
