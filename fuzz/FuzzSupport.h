#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// Shared by the fuzz targets: quiet logging and the checks that turn a broken promise of
// the decoders into a crash the fuzzer reports.
namespace Fuzz {

inline void dropMessage(QtMsgType, const QMessageLogContext&, const QString&) { }

// Bad input is logged by design; at thousands of inputs a second that only slows the
// fuzzer down. PARQUETA_FUZZ_LOG=1 keeps the log, to look at one input.
inline void quietLogs()
{
    if (qEnvironmentVariableIsEmpty("PARQUETA_FUZZ_LOG"))
        qInstallMessageHandler(dropMessage);
}

inline void check(bool condition, const char* promise)
{
    if (condition)
        return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

inline QByteArray bytes(const std::uint8_t* data, std::size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

} // namespace Fuzz
