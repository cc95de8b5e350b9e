/**
 * @file
 * A terminal that nobody sits at.
 */
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdio>
#include <thread>

#include <pty.h>
#include <unistd.h>

namespace testing {

/** While an object lives, this process's standard error is a terminal of @p columns columns. */
class StandardErrorTerminal {
public:
    explicit StandardErrorTerminal(int columns)
    {
        winsize size{};
        size.ws_col = static_cast<unsigned short>(columns);
        size.ws_row = 24;
        int end = -1;
        if (::openpty(&m_screen, &end, nullptr, nullptr, &size) != 0)
            return;
        std::fflush(stderr);
        m_original = ::dup(STDERR_FILENO);
        ::dup2(end, STDERR_FILENO);
        ::close(end);
        m_reader = std::thread([this] { readAll(); });
    }
    ~StandardErrorTerminal() { taken(); }
    StandardErrorTerminal(const StandardErrorTerminal&) = delete;
    StandardErrorTerminal& operator=(const StandardErrorTerminal&) = delete;

    /** Ends the terminal. @return everything that was written to it */
    QByteArray taken()
    {
        if (m_original < 0)
            return m_written;
        std::fflush(stderr);
        // Reading fails once no process has the other end any more.
        ::dup2(m_original, STDERR_FILENO);
        ::close(m_original);
        m_original = -1;
        m_reader.join();
        ::close(m_screen);
        return m_written;
    }

private:
    void readAll()
    {
        char bytes[4096];
        for (ssize_t count = 0; (count = ::read(m_screen, bytes, sizeof bytes)) > 0;)
            m_written.append(bytes, static_cast<int>(count));
    }

    int m_screen = -1;
    int m_original = -1;
    QByteArray m_written;
    std::thread m_reader;
};

/** The lines that a person sees at the end on a terminal that got @p bytes; it knows line feeds, returns and the
 * erasing of the rest of a line. Colours are left out. */
inline QStringList linesSeen(const QByteArray& bytes)
{
    QStringList lines{QString()};
    int column = 0;
    const QString text = QString::fromUtf8(bytes);
    for (int i = 0; i < text.size(); ++i) {
        QString& line = lines.last();
        if (text[i] == QLatin1Char('\n')) {
            lines << QString();
        } else if (text[i] == QLatin1Char('\r')) {
            column = 0;
        } else if (text[i] == QChar(0x1b)) {
            while (++i < text.size() && !text[i].isLetter())
                continue;
            if (i < text.size() && text[i] == QLatin1Char('K'))
                line.truncate(column);
        } else {
            line.replace(column++, 1, text[i]);
        }
    }
    return lines;
}

}  // namespace testing
