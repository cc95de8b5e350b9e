/**
 * @file
 * Messages in a file.
 */
#pragma once

#include <ep/epcore.h>
#include <orn/Protocol.h>

/** A file for the messages of a protocol, which replaces an older one only when all of them are in it. */
class ProtocolFile {
public:
    explicit ProtocolFile(const QString& path) : m_path(path), m_file(path) {}

    /** False, with @p error set, when nothing can be written there. */
    bool create(ep::SxFileError& error);
    /** Writes the messages so far. False, with @p error set, when they did not arrive. */
    bool write(orn::Protocol& protocol, ep::SxFileError& error);

private:
    QString m_path;
    ep::CxSafeFile m_file;
};
