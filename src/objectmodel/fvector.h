#pragma once

#include "tolvexexport.h"

#include <QtGlobal>

#include <utility>

// An array that is always exactly as large as its contents: the member tables
// of a class are sized once and read often, so spare capacity is only waste.
template <typename T> class TOLVEX_EXPORT FVector
{
public:
    FVector() = default;
    explicit FVector(int n) { resize(n); }
    FVector(const FVector &other) { assign(other); }
    FVector(FVector &&other) noexcept
        : m_data(std::exchange(other.m_data, nullptr)), m_count(std::exchange(other.m_count, 0))
    {}
    ~FVector() { delete[] m_data; }

    FVector &operator=(const FVector &other)
    {
        if (this != &other)
            assign(other);
        return *this;
    }
    FVector &operator=(FVector &&other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_count, other.m_count);
        return *this;
    }

    // Keeps the first min(old, n) elements; new ones are value-initialised.
    void resize(int n)
    {
        if (n < 0)
            n = 0;
        if (n == m_count)
            return;
        T *fresh = n > 0 ? new T[n]() : nullptr;
        const int keep = n < m_count ? n : m_count;
        for (int i = 0; i < keep; ++i)
            fresh[i] = std::move(m_data[i]);
        delete[] m_data;
        m_data = fresh;
        m_count = n;
    }

    void append(T value)
    {
        resize(m_count + 1);
        m_data[m_count - 1] = std::move(value);
    }

    void clear() { resize(0); }

    int count() const { return m_count; }
    int size() const { return m_count; }
    bool isEmpty() const { return m_count == 0; }

    T &operator[](int i)
    {
        Q_ASSERT(i >= 0 && i < m_count);
        return m_data[i];
    }
    const T &operator[](int i) const
    {
        Q_ASSERT(i >= 0 && i < m_count);
        return m_data[i];
    }
    const T &at(int i) const { return (*this)[i]; }

    T *data() { return m_data; }
    const T *data() const { return m_data; }
    T *begin() { return m_data; }
    T *end() { return m_data + m_count; }
    const T *begin() const { return m_data; }
    const T *end() const { return m_data + m_count; }

private:
    void assign(const FVector &other)
    {
        T *fresh = other.m_count > 0 ? new T[other.m_count]() : nullptr;
        for (int i = 0; i < other.m_count; ++i)
            fresh[i] = other.m_data[i];
        delete[] m_data;
        m_data = fresh;
        m_count = other.m_count;
    }

    T *m_data = nullptr;
    qint32 m_count = 0;
};
