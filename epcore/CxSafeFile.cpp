#include <ep/CxSafeFile.h>

#include <ep/internal/OutOfMemory.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace ep {

namespace {

constexpr mode_t permissionBits = 0777;

/** A file descriptor, closed at the end of its scope. */
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    bool isOpen() const { return m_fd >= 0; }
    int fd() const { return m_fd; }

private:
    int m_fd;
};

QString reasonOf(int code)
{
    switch (code) {
    case ENOENT:
    case ENOTDIR: return QStringLiteral("its folder does not exist");
    case EACCES:
    case EPERM:
    case EROFS: return QStringLiteral("its folder cannot be written");
    case ENOSPC:
    case EDQUOT: return QStringLiteral("the disk is full");
    case ENAMETOOLONG: return QStringLiteral("its name is too long");
    case EEXIST: return QStringLiteral("the file exists already");
    default: return qt_error_string(code);
    }
}

bool fail(SxFileError& error, const QString& reason)
{
    error = {ExFileError::Unwritable, reason};
    return false;
}

bool failAbandoned(SxFileError& error)
{
    return fail(error, QStringLiteral("the program is ending"));
}

/** A temporary file, with its folder, in which it is found also when that was moved away. */
struct LiveFile {
    QByteArray name;
    Descriptor folder;

    /** Asks for no memory: it may be what is missing. */
    void remove() const { ::unlinkat(folder.fd(), name.constData() + name.lastIndexOf('/') + 1, 0); }
};

/** The temporary files that exist now, each by its owner, for abandonAll(). */
struct LiveFiles {
    std::mutex mutex;  // not Qt's, which race detectors cannot see through
    std::map<const CxSafeFile*, LiveFile> files;
    bool areAbandoned = false;
};

LiveFiles& liveFiles()
{
    // Never destroyed: a program may abandon its files while it ends.
    static LiveFiles* const files = new LiveFiles;
    return *files;
}

/** @p path with symbolic links of its last part followed, also to a file that does not exist yet. */
QString behindLinks(QString path)
{
    constexpr int mostLinks = 40;  // as the kernel
    for (int i = 0; i < mostLinks && QFileInfo(path).isSymLink(); ++i)
        path = QFileInfo(path).symLinkTarget();
    return path;
}

/** ".NAME-0123abcd.SUFFIX" beside @p target. */
QString temporaryBeside(const QString& target)
{
    constexpr int longestName = 255;
    const QFileInfo file(target);
    const QString suffix = file.suffix().isEmpty() ? QString() : QLatin1Char('.') + file.suffix();
    const QString unique = QStringLiteral("-%1").arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
    QString name = file.completeBaseName();
    while (!name.isEmpty() && QFile::encodeName(QLatin1Char('.') + name + unique + suffix).size() > longestName)
        name.chop(1);
    return QDir(file.path()).filePath(QLatin1Char('.') + name + unique + suffix);
}

/** Renames only when nothing has the new name; the result and errno are rename()'s. */
int renameWithoutReplacing(const QByteArray& from, const QByteArray& to)
{
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    // File systems without such a rename mostly have hard links, which never replace either.
    if (::link(from, to) == 0)
        return ::unlink(from);
    return -1;
}

/** Makes what a rename did last a power failure. Not every file system can; then there is nothing more to do. */
void flushFolder(const QByteArray& folder)
{
    const Descriptor descriptor(::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.isOpen())
        ::fsync(descriptor.fd());
}

/** Makes the temporary file of @p owner, and tells its name. */
bool createBeside(const QString& path, const CxSafeFile* owner, QString& temporary, SxFileError& error)
{
    const QFileInfo target(path);
    if (path.isEmpty() || target.fileName().isEmpty() || target.isDir())
        return fail(error, QStringLiteral("it is a folder, not a file"));
    if (target.isSymLink() || (target.exists() && !target.isFile()))
        return fail(error, QStringLiteral("it is not a regular file"));
    LiveFiles& live = liveFiles();
    const std::lock_guard<std::mutex> lock(live.mutex);
    if (live.areAbandoned)
        return failAbandoned(error);
    Descriptor folder(::open(QFile::encodeName(target.path()), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen())
        return fail(error, reasonOf(errno));
    // All memory is asked for before there is a file that somebody must remove.
    std::map<const CxSafeFile*, LiveFile> made;
    LiveFile& mine = made.emplace(owner, LiveFile{QByteArray(), std::move(folder)}).first->second;
    for (;;) {
        const QString name = temporaryBeside(path);
        mine.name = QFile::encodeName(name);
        const Descriptor file(::open(mine.name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (file.isOpen()) {
            temporary = name;
            live.files.merge(made);
            return true;
        }
        if (errno != EEXIST)
            return fail(error, reasonOf(errno));
    }
}

/** Flushes the temporary file @p from of @p owner and renames it to @p to. */
bool putInPlace(const QByteArray& from, const QByteArray& to, const CxSafeFile* owner, bool refuseReplace,
                SxFileError& error)
{
    const Descriptor file(::open(from, O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
        return fail(error, qt_error_string(errno));
    struct stat old = {};
    if (::stat(to, &old) == 0)
        ::fchmod(file.fd(), old.st_mode & permissionBits);
    if (::fsync(file.fd()) != 0)
        return fail(error, reasonOf(errno));
    LiveFiles& live = liveFiles();
    const std::lock_guard<std::mutex> lock(live.mutex);
    if (live.areAbandoned)
        return failAbandoned(error);
    if ((refuseReplace ? renameWithoutReplacing(from, to) : ::rename(from, to)) != 0) {
        const int code = errno;
        error = {code == EEXIST ? ExFileError::Refused : ExFileError::Unwritable, reasonOf(code)};
        return false;
    }
    live.files.erase(owner);
    return true;
}

}  // namespace

CxSafeFile::CxSafeFile(const QString& target) : m_target(target) {}

CxSafeFile::~CxSafeFile()
{
    if (m_temporary.isEmpty())
        return;
    LiveFiles& live = liveFiles();
    const std::lock_guard<std::mutex> lock(live.mutex);
    const auto file = live.files.find(this);
    if (file == live.files.end())
        return;
    file->second.remove();
    live.files.erase(file);
}

void CxSafeFile::abandonAll()
{
    LiveFiles& live = liveFiles();
    const std::lock_guard<std::mutex> lock(live.mutex);
    live.areAbandoned = true;
    for (const auto& file : live.files)
        file.second.remove();
    live.files.clear();
}

bool CxSafeFile::create(SxFileError& error)
try {
    m_target = behindLinks(m_target);
    return createBeside(m_target, this, m_temporary, error);
} catch (const std::bad_alloc&) {
    error = internal::outOfMemory();
    return false;
}

bool CxSafeFile::commit(bool refuseReplace, SxFileError& error)
try {
    if (m_temporary.isEmpty())
        return fail(error, QStringLiteral("there is nothing to put in its place"));
    // Nothing is asked for behind the rename, which cannot be taken back.
    const QByteArray folder = QFile::encodeName(QFileInfo(m_target).path());
    if (!putInPlace(QFile::encodeName(m_temporary), QFile::encodeName(m_target), this, refuseReplace, error))
        return false;
    flushFolder(folder);
    m_temporary.clear();
    return true;
} catch (const std::bad_alloc&) {
    error = internal::outOfMemory();
    return false;
}

}  // namespace ep
