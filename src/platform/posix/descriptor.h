#pragma once

#include <unistd.h>

#include <utility>

/// Owns one file descriptor, or none (-1).
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor &&other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        if (this != &other) {
            reset();
            m_number = std::exchange(other.m_number, -1);
        }
        return *this;
    }

    [[nodiscard]] int get() const { return m_number; }
    explicit operator bool() const { return m_number >= 0; }

    void reset()
    {
        if (m_number >= 0)
            close(std::exchange(m_number, -1));
    }

private:
    int m_number = -1;
};
