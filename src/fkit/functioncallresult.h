#pragma once

#include <QString>

#include <utility>

namespace Tolvex {

// A value and an error text; an empty error means success.
template <typename T> struct FunctionCallResult
{
    FunctionCallResult() = default;
    FunctionCallResult(T v) : value(std::move(v)) {}
    FunctionCallResult(T v, QString e) : value(std::move(v)), error(std::move(e)) {}

    static FunctionCallResult failure(QString e) { return FunctionCallResult(T{}, std::move(e)); }

    bool isError() const { return !error.isEmpty(); }
    bool isSuccess() const { return error.isEmpty(); }

    T value{};
    QString error;
};

template <> struct FunctionCallResult<void>
{
    FunctionCallResult() = default;
    explicit FunctionCallResult(QString e) : error(std::move(e)) {}

    static FunctionCallResult failure(QString e) { return FunctionCallResult(std::move(e)); }

    bool isError() const { return !error.isEmpty(); }
    bool isSuccess() const { return error.isEmpty(); }

    QString error;
};

// One-shot receiver of a result. A listener hears exactly one result, unless
// the call it waits for is cancelled, in which case it hears none.
template <typename T> class ResponseListener
{
public:
    virtual ~ResponseListener() = default;
    virtual void response(FunctionCallResult<T> result) = 0;

    void success(T value) { response(FunctionCallResult<T>(std::move(value))); }
    void error(const QString &text) { response(FunctionCallResult<T>::failure(text)); }
};

} // namespace Tolvex
