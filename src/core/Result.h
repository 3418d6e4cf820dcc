#pragma once

#include <QString>

#include <utility>
#include <variant>

namespace tk {

// A failure as the system reports it: a domain, a code and a description that is
// shown to people (a table key for our own errors, the platform's text otherwise).
struct Error {
    QString domain;
    qint64 code = 0;
    QString description;

    friend bool operator==(const Error&, const Error&) = default;
};

// A value or the error that prevented it.
template <class T>
class Result {
public:
    Result(T value) : m_state(std::move(value)) {}
    Result(Error error) : m_state(std::move(error)) {}

    bool ok() const { return std::holds_alternative<T>(m_state); }
    explicit operator bool() const { return ok(); }
    const T& value() const& { return std::get<T>(m_state); }
    T&& value() && { return std::get<T>(std::move(m_state)); }
    const T& operator*() const& { return value(); }
    const T* operator->() const { return &value(); }
    const Error& error() const { return std::get<Error>(m_state); }

private:
    std::variant<T, Error> m_state;
};

} // namespace tk
