#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstdint>
#include <initializer_list>
#include <type_traits>

// One argument of a format, as the system's texts pass them: an object (printed by %@,
// "(null)" when absent), a number or a C string.
class RVFormatArg
{
public:
    RVFormatArg() = default; // absent
    RVFormatArg(std::nullptr_t) {}
    RVFormatArg(const QString& s) : m_value(s.isNull() ? QVariant() : QVariant(s)) {}
    RVFormatArg(const char* s) : m_value(s ? QVariant(QString::fromUtf8(s)) : QVariant()) {}
    RVFormatArg(const QStringList& list) : m_value(list) {}
    RVFormatArg(const QVariant& v) : m_value(v) {}
    RVFormatArg(const QVariantMap& map) : m_value(map) {}
    RVFormatArg(const QVariantList& list) : m_value(list) {}
    RVFormatArg(bool b) : m_value(b) {}
    RVFormatArg(double d) : m_value(d) {}
    RVFormatArg(float f) : m_value(static_cast<double>(f)) {}
    template <typename T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>, int> = 0>
    RVFormatArg(T n)
        : m_value(std::is_signed_v<T> ? QVariant(static_cast<qlonglong>(n))
                                      : QVariant(static_cast<qulonglong>(n)))
    {
    }

    const QVariant& value() const { return m_value; }

private:
    QVariant m_value;
};

// printf-style formatting with the conversions the system's texts use: %@ and %n$@ for
// objects, %d %i %u %x %X %o %c %s %f %e %g with flags, width, precision and length
// modifiers, and %%. Bad formats never crash: an unknown conversion is copied as it
// stands, a missing argument prints as "(null)" (or 0 for numbers).
QString RVFormat(const QString& format, std::initializer_list<RVFormatArg> args);

// The one-line description of an object as %@ prints it.
QString RVDescription(const QVariant& value);
