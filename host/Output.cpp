#include "Output.h"

#include "NoteCollector.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QtGlobal>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

Output* s_current = nullptr;

bool wantsColour(int descriptor)
{
    return isatty(descriptor) && qgetenv("NO_COLOR").isEmpty() && qgetenv("TERM") != "dumb";
}

QString coloured(const QString& text, const char* code)
{
    return QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1String(code), text);
}

/** Columns of the terminal behind @p descriptor, or what is usual where there is none. */
int widthOf(int descriptor)
{
    constexpr int usual = 80;
    winsize size{};
    const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : usual;
}

/** The text of a message whose items are "ERROR", "|" and the text. */
QString withoutDecoration(QString text)
{
    const QString prefix = QStringLiteral("ERROR | \"");
    if (!text.startsWith(prefix) || !text.endsWith(QLatin1Char('"')))
        return text;
    return text.mid(prefix.size(), text.size() - prefix.size() - 1);
}

}  // namespace

QString printable(const QString& text)
{
    QString result = text;
    for (QChar& c : result)
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = QChar::ReplacementCharacter;
    return result;
}

Output::Output()
    : m_colouredData(wantsColour(STDOUT_FILENO)), m_colouredMessages(wantsColour(STDERR_FILENO)),
      m_dataIsSeen(isatty(STDOUT_FILENO))
{
    s_current = this;
    qInstallMessageHandler(&Output::relayQtMessage);
}

Output::~Output()
{
    qInstallMessageHandler(nullptr);
    s_current = nullptr;
}

void Output::data(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    const size_t size = static_cast<size_t>(bytes.size());
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_writeError != 0)
        return;
    if (m_dataIsSeen)
        eraseStatus();
    if (std::fwrite(bytes.constData(), 1, size, stdout) != size)
        m_writeError = errno;
    if (m_dataIsSeen)
        showStatus();
}

void Output::json(const QJsonObject& answer)
{
    data(QString::fromUtf8(QJsonDocument(answer).toJson(QJsonDocument::Indented)));
}

void Output::problem(const QString& file, const QString& reason)
{
    message(file, reason, true);
}

void Output::note(const QString& file, const QString& text)
{
    message(file, QStringLiteral("note: ") + text, false);
}

void Output::remark(const QString& text)
{
    message(QString(), text, false);
}

void Output::setSubject(const QString& file)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_subject = file;
}

void Output::setStatus(const QString& line)
{
    if (!hasStatus())
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    eraseStatus();
    m_status = line.toUtf8();
    showStatus();
}

int Output::statusWidth() const
{
    // A terminal that is written up to its last column may go to the next line by itself.
    return widthOf(STDERR_FILENO) - 1;
}

void Output::eraseStatus()
{
    if (!m_status.isEmpty())
        std::fputs("\r\033[K", stderr);
}

void Output::showStatus()
{
    if (m_status.isEmpty())
        return;
    std::fflush(stdout);
    std::fputs(m_status.constData(), stderr);
    std::fflush(stderr);
}

void Output::message(const QString& file, const QString& text, bool isProblem)
{
    QString program = QStringLiteral("orn:");
    if (m_colouredMessages)
        program = coloured(program, isProblem ? "31" : "33");
    QString line = program + QLatin1Char(' ');
    if (!file.isNull())
        line += (file.isEmpty() ? QStringLiteral("''") : printable(file)) + QStringLiteral(": ");
    line += printable(text) + QLatin1Char('\n');
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::fflush(stdout);
    eraseStatus();
    std::fputs(line.toUtf8().constData(), stderr);
    showStatus();
}

QString Output::emphasised(const QString& text) const
{
    return painted(text, "1");
}

QString Output::painted(const QString& text, const char* code) const
{
    return m_colouredData ? coloured(text, code) : text;
}

int Output::width() const
{
    return widthOf(STDOUT_FILENO);
}

ExitCode Output::finish(ExitCode code)
{
    if (m_writeError == 0 && std::fflush(stdout) != 0)
        m_writeError = errno;
    if (m_writeError == 0 || m_writeError == EPIPE)
        return code;
    problem(QStringLiteral("standard output"), QString::fromLocal8Bit(std::strerror(m_writeError)));
    return code == ExitCode::Done ? ExitCode::Unwritable : code;
}

void Output::relayQtMessage(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (!s_current || type == QtDebugMsg || type == QtInfoMsg)
        return;
    const QString plain = withoutDecoration(text);
    if (NoteCollector::takes(plain))
        return;
    QString subject;
    {
        const std::lock_guard<std::mutex> lock(s_current->m_mutex);
        subject = s_current->m_subject;
    }
    s_current->note(subject, plain);
}
