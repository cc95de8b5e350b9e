/**
 * @file
 * What every fuzzer is made of.
 *
 * A file XFuzzer.cpp holds one entry: LLVMFuzzerTestOneInput(), which hands an input to the library and tells the
 * outcome. Linked with libFuzzer it is the program XFuzzer, which looks for inputs by itself; linked with
 * MutationDriver.cpp it is XMutants, which makes them from a corpus by number, and needs no clang.
 */
#pragma once

#include <ep/SxFileError.h>
#include <ep/SxImageBuf.h>

#include <QByteArray>
#include <QCryptographicHash>
#include <QString>

#include <cstddef>
#include <cstdint>

extern "C" {

/** The entry. @return 0 */
int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
/** Called once before the entry. @return 0 */
int LLVMFuzzerInitialize(int* argc, char*** argv);
/** Changes @p data in place, to @p mostBytes at most; of libFuzzer or of the driver. @return the new size */
size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t mostBytes);
/** As LLVMFuzzerMutate(), of an entry that knows how its inputs are packed. */
size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t mostBytes, unsigned int seed) __attribute__((weak));
}

namespace fuzzing {

/** Most bytes of an image that the format manager loads here, unless a trial says otherwise. */
constexpr qint64 memoryLimit = qint64(256) << 20;

/** Everything that the library gave for an input. Two runs of one input have the same outcome. */
class Outcome {
public:
    void clear();
    void add(const void* bytes, size_t size);
    void add(bool value) { add(&value, sizeof(value)); }
    void add(qint32 value) { add(&value, sizeof(value)); }
    void add(const QString& text);
    /** Adds the description and every byte of @p image. */
    void add(const ep::SxImageBuf& image);
    /** Counts an input that was taken for sound. */
    void setAccepted() { m_isAccepted = true; }
    /** The image of the input is one past the memory limit. */
    void setTooLarge() { m_isTooLarge = true; }

    QByteArray digest() const { return m_hash.result(); }
    bool isAccepted() const { return m_isAccepted; }
    bool isTooLarge() const { return m_isTooLarge; }
    /** Bytes of the largest image that was handed out. */
    qint64 imageBytes() const { return m_imageBytes; }

private:
    QCryptographicHash m_hash{QCryptographicHash::Md5};
    qint64 m_imageBytes = 0;
    bool m_isAccepted = false;
    bool m_isTooLarge = false;
};

/** The outcome of the current input; the driver clears it before each. */
Outcome& outcome();

/** Ends the program when a promise of the library is not kept. */
void require(bool isKept, const char* promise);

/** A new file with the input; the one before is removed. */
QString inputFile(const uint8_t* data, size_t size, const char* suffix);

/** Loads the input through the format manager as a file of suffix @p suffix. */
void loadAsImage(const uint8_t* data, size_t size, const char* suffix);

}  // namespace fuzzing
