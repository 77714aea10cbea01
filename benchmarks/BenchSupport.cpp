#include "BenchSupport.h"

#include <QtEndian>

#include <lzma.h>

#include <cstdio>
#include <ctime>
#include <random>
#include <sys/resource.h>

std::int64_t monotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

double peakMemoryMb()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024 / 1e6;
}

QByteArray payload(qsizetype size, std::uint32_t seed)
{
    constexpr qsizetype wordCount = 2048;
    constexpr qsizetype runLength = 512;
    std::mt19937 random(seed);
    QByteArray words;
    for (qsizetype i = 0; i < wordCount * 8; ++i)
        words.append(static_cast<char>('a' + random() % 26));
    QByteArray bytes;
    bytes.reserve(size + runLength + 8);
    while (bytes.size() < size) {
        const qsizetype end = bytes.size() + runLength;
        if (random() % 8 < 3) {
            while (bytes.size() < end) {
                const auto noise = static_cast<std::uint32_t>(random());
                bytes.append(reinterpret_cast<const char*>(&noise), sizeof noise);
            }
        } else {
            while (bytes.size() < end)
                bytes.append(words.constData() + (random() % wordCount) * 8,
                             3 + static_cast<qsizetype>(random() % 6));
        }
    }
    bytes.truncate(size);
    return bytes;
}

QByteArray packed(const QByteArray& bytes)
{
    lzma_options_lzma options{};
    lzma_lzma_preset(&options, 1);
    lzma_stream stream = LZMA_STREAM_INIT;
    if (lzma_alone_encoder(&stream, &options) != LZMA_OK)
        return {};
    QByteArray result(bytes.size() + bytes.size() / 3 + 1024, Qt::Uninitialized);
    stream.next_in = reinterpret_cast<const uint8_t*>(bytes.constData());
    stream.avail_in = static_cast<size_t>(bytes.size());
    stream.next_out = reinterpret_cast<uint8_t*>(result.data());
    stream.avail_out = static_cast<size_t>(result.size());
    const bool ok = lzma_code(&stream, LZMA_FINISH) == LZMA_STREAM_END;
    result.truncate(ok ? static_cast<qsizetype>(stream.total_out) : 0);
    lzma_end(&stream);
    if (ok)
        qToLittleEndian(static_cast<quint64>(bytes.size()), result.data() + 5);
    return result;
}

void printFigure(const char* name, double value, const char* unit)
{
    std::printf("%-44s %10.3f %s\n", name, value, unit);
    std::fflush(stdout);
}
