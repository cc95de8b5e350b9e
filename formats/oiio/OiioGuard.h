/**
 * @file
 * Calls into OpenImageIO, from which nothing escapes.
 */
#pragma once

#include <ep/SxFileError.h>

#include <exception>
#include <new>
#include <string>

namespace ep {
namespace oiio {

/** What a library says, for people: in one line, without the file's name, which whoever reports it adds. */
inline QString clause(const std::string& message, const QString& path)
{
    constexpr int longest = 300;
    QString text = QString::fromUtf8(message.c_str());
    for (const QString& name : {QStringLiteral("(\"%1\")").arg(path), QStringLiteral("\"%1\"").arg(path), path})
        text.remove(name);
    text = text.simplified();
    while (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    return text.size() > longest ? text.left(longest) + QStringLiteral(" ...") : text;
}

/** Does @p work; what it throws becomes a failure of kind @p kind. True when there was none. */
template <typename Work>
bool guarded(ExFileError kind, SxFileError& error, Work&& work) noexcept
{
    try {
        error = work();
    } catch (const std::bad_alloc&) {
        error = {ExFileError::TooLarge, QStringLiteral("there is not enough memory")};
    } catch (const std::exception& exception) {
        error = {kind, QString::fromLocal8Bit(exception.what())};
    } catch (...) {
        error = {kind, QStringLiteral("the format's library gave up on it")};
    }
    return !error;
}

}  // namespace oiio
}  // namespace ep
