// Owning arrays of samples and spectra.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

// One complex sample or bin. Layout: two floats, re then im, interchangeable with fftwf_complex and
// std::complex<float>.
struct Complex
{
    float re = 0;
    float im = 0;

    friend bool operator==(const Complex&, const Complex&) = default;
};

// An owning array with value copy. Memory is aligned to 64 bytes, so that a DFT plan made for one
// array serves every other. `scale` and `flag` are two words that travel with a copy; what they
// mean is told by the owner. New elements are zero.
template<class T>
class ArrayTemplate
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    using Value = T;
    static constexpr std::size_t alignment = 64;

    ArrayTemplate() = default;
    explicit ArrayTemplate(int64_t count) { allocate(count); }
    ArrayTemplate(const ArrayTemplate& other) : scale(other.scale), flag(other.flag)
    {
        allocate(other.m_size);
        if (m_data)
            std::memcpy(m_data, other.m_data, bytes());
    }
    ArrayTemplate(ArrayTemplate&& other) noexcept { swap(other); }
    ArrayTemplate& operator=(ArrayTemplate other) noexcept
    {
        swap(other);
        return *this;
    }
    ~ArrayTemplate()
    {
        if (m_data)
            ::operator delete(m_data, std::align_val_t(alignment));
    }

    // Contents are lost when the size changes: the array is then all zero.
    void resize(int64_t count)
    {
        if (count == m_size)
            return;
        ArrayTemplate fresh(count);
        fresh.scale = scale;
        fresh.flag = flag;
        swap(fresh);
    }
    void swap(ArrayTemplate& other) noexcept
    {
        std::swap(m_size, other.m_size);
        std::swap(m_data, other.m_data);
        std::swap(scale, other.scale);
        std::swap(flag, other.flag);
    }

    [[nodiscard]] int64_t size() const { return m_size; }
    [[nodiscard]] std::size_t bytes() const { return m_size > 0 ? std::size_t(m_size) * sizeof(T) : 0; }
    [[nodiscard]] bool isEmpty() const { return m_size < 1; }
    // Null when size() < 1.
    [[nodiscard]] T* data() { return m_data; }
    [[nodiscard]] const T* data() const { return m_data; }
    T& operator[](int64_t i) { return m_data[i]; }
    const T& operator[](int64_t i) const { return m_data[i]; }
    T* begin() { return m_data; }
    T* end() { return m_data + (m_size > 0 ? m_size : 0); }
    const T* begin() const { return m_data; }
    const T* end() const { return m_data + (m_size > 0 ? m_size : 0); }

private:
    void allocate(int64_t count)
    {
        m_size = count;
        if (count < 1)
            return;
        m_data = static_cast<T*>(::operator new(bytes(), std::align_val_t(alignment)));
        std::memset(static_cast<void*>(m_data), 0, bytes());
    }

    int64_t m_size = 0;
    T* m_data = nullptr;

public:
    float scale = 1.0f;
    uint32_t flag = 0;
};
