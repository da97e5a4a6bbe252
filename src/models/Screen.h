#pragma once

#include <QByteArray>
#include <QHashFunctions>
#include <QString>

#include <optional>

// A display as Parqueta knows it: identified by "<display UUID>-<W>x<H>", so the same
// monitor at another resolution is another screen with its own layouts.
class Screen final
{
public:
    Screen() = default;
    Screen(QString id, QString name);

    const QString& id() const { return m_id; }
    const QString& name() const { return m_name; }

    // The identifier for a display: the size is truncated, not rounded.
    static QString makeId(const QString& displayUuid, double width, double height);

    // {"id": ..., "name": ...}; both keys are required to decode.
    QByteArray toJson() const;
    static std::optional<Screen> fromJson(const QByteArray& json);

    friend bool operator==(const Screen& a, const Screen& b) { return a.m_id == b.m_id; }

private:
    QString m_id;
    QString m_name;
};

inline size_t qHash(const Screen& screen, size_t seed = 0)
{
    return qHash(screen.id(), seed);
}

template <>
struct std::hash<Screen>
{
    size_t operator()(const Screen& screen) const noexcept { return qHash(screen.id()); }
};
