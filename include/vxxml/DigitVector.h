// The digit store of CBigInteger and CDecimal: a vector of wchar_t that keeps
// short numbers inside the object.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <new>
#include <type_traits>

namespace VxXmlLib16 {

// Almost every number a document holds (prices, quantities, identifiers) has
// a few digits in its integer part and fewer in its fraction. A std::vector
// would put each of them in a heap block of its own, two per decimal, and
// reading or copying a decimal would cost more in the allocator than in the
// digits. Up to kInline digits live in the object itself; longer numbers go
// to the heap and grow by doubling, as a vector does.
//
// It offers the part of std::vector's interface the arithmetic uses, with
// the same meaning: iterators are plain pointers and are invalidated by any
// growth.
class CDigitVector
{
public:
    using value_type = wchar_t;
    using size_type = size_t;
    using iterator = wchar_t*;
    using const_iterator = const wchar_t*;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    static constexpr size_t kInline = 16;

    CDigitVector() noexcept = default;
    CDigitVector(size_t count, wchar_t value) { assign(count, value); }
    CDigitVector(std::initializer_list<wchar_t> digits) { assign(digits.begin(), digits.end()); }
    CDigitVector(const CDigitVector& other) { assign(other.begin(), other.end()); }
    CDigitVector(CDigitVector&& other) noexcept { TakeFrom(other); }
    CDigitVector& operator=(const CDigitVector& other)
    {
        if (this != &other) {
            assign(other.begin(), other.end());
        }
        return *this;
    }
    CDigitVector& operator=(CDigitVector&& other) noexcept
    {
        if (this != &other) {
            FreeHeap();
            TakeFrom(other);
        }
        return *this;
    }
    ~CDigitVector() { FreeHeap(); }

    size_t size() const noexcept { return m_size; }
    bool empty() const noexcept { return m_size == 0; }
    size_t capacity() const noexcept { return m_capacity; }
    wchar_t* data() noexcept { return m_data; }
    const wchar_t* data() const noexcept { return m_data; }

    iterator begin() noexcept { return m_data; }
    iterator end() noexcept { return m_data + m_size; }
    const_iterator begin() const noexcept { return m_data; }
    const_iterator end() const noexcept { return m_data + m_size; }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    wchar_t& operator[](size_t i) noexcept { return m_data[i]; }
    const wchar_t& operator[](size_t i) const noexcept { return m_data[i]; }
    wchar_t& front() noexcept { return m_data[0]; }
    const wchar_t& front() const noexcept { return m_data[0]; }
    wchar_t& back() noexcept { return m_data[m_size - 1]; }
    const wchar_t& back() const noexcept { return m_data[m_size - 1]; }

    void clear() noexcept { m_size = 0; }
    void reserve(size_t count)
    {
        if (count > m_capacity) {
            Reallocate(count);
        }
    }
    void resize(size_t count) { resize(count, 0); }
    void resize(size_t count, wchar_t value)
    {
        if (count > m_size) {
            Grow(count);
            std::fill(m_data + m_size, m_data + count, value);
        }
        m_size = count;
    }
    void assign(size_t count, wchar_t value)
    {
        m_size = 0;
        resize(count, value);
    }
    // The range may lie in this vector itself.
    template <class It>
    requires(!std::is_integral_v<It>) void assign(It first, It last)
    {
        const auto count = static_cast<size_t>(std::distance(first, last));
        if (count > m_capacity) {
            CDigitVector fresh;
            fresh.Reallocate(count);
            std::copy(first, last, fresh.m_data);
            fresh.m_size = count;
            *this = std::move(fresh);
            return;
        }
        if constexpr (std::is_pointer_v<It>) {
            std::memmove(m_data, &*first, count * sizeof(wchar_t));
        } else {
            std::copy(first, last, m_data);
        }
        m_size = count;
    }
    void push_back(wchar_t value)
    {
        Grow(m_size + 1);
        m_data[m_size++] = value;
    }
    void pop_back() noexcept { --m_size; }
    iterator insert(const_iterator position, wchar_t value) { return insert(position, 1, value); }
    iterator insert(const_iterator position, size_t count, wchar_t value)
    {
        const auto offset = static_cast<size_t>(position - m_data);
        Grow(m_size + count);
        std::memmove(m_data + offset + count, m_data + offset, (m_size - offset) * sizeof(wchar_t));
        std::fill(m_data + offset, m_data + offset + count, value);
        m_size += count;
        return m_data + offset;
    }
    iterator erase(const_iterator first, const_iterator last) noexcept
    {
        const auto from = static_cast<size_t>(first - m_data);
        const auto to = static_cast<size_t>(last - m_data);
        std::memmove(m_data + from, m_data + to, (m_size - to) * sizeof(wchar_t));
        m_size -= to - from;
        return m_data + from;
    }
    void swap(CDigitVector& other) noexcept
    {
        if (!IsInline() && !other.IsInline()) {
            std::swap(m_data, other.m_data);
            std::swap(m_size, other.m_size);
            std::swap(m_capacity, other.m_capacity);
            return;
        }
        CDigitVector held(std::move(other));
        other = std::move(*this);
        *this = std::move(held);
    }

    friend bool operator==(const CDigitVector& a, const CDigitVector& b) noexcept
    {
        return a.m_size == b.m_size &&
               std::memcmp(a.m_data, b.m_data, a.m_size * sizeof(wchar_t)) == 0;
    }

private:
    bool IsInline() const noexcept { return m_data == m_inline; }

    // Room for at least count digits, doubling so that digit-by-digit
    // growth stays linear.
    void Grow(size_t count)
    {
        if (count > m_capacity) {
            Reallocate(std::max(count, 2 * m_capacity));
        }
    }
    void Reallocate(size_t capacity)
    {
        auto* grown = new wchar_t[capacity];
        std::memcpy(grown, m_data, m_size * sizeof(wchar_t));
        FreeHeap();
        m_data = grown;
        m_capacity = capacity;
    }
    void FreeHeap() noexcept
    {
        if (!IsInline()) {
            delete[] m_data;
        }
        m_data = m_inline;
        m_capacity = kInline;
    }
    // Takes other's digits (its heap block, or a copy of its inline ones)
    // and leaves it empty; this holds no heap block.
    void TakeFrom(CDigitVector& other) noexcept
    {
        if (other.IsInline()) {
            std::memcpy(m_inline, other.m_inline, other.m_size * sizeof(wchar_t));
            m_data = m_inline;
            m_capacity = kInline;
        } else {
            m_data = other.m_data;
            m_capacity = other.m_capacity;
            other.m_data = other.m_inline;
            other.m_capacity = kInline;
        }
        m_size = other.m_size;
        other.m_size = 0;
    }

    wchar_t* m_data = m_inline;
    size_t m_size = 0;
    size_t m_capacity = kInline;
    wchar_t m_inline[kInline];
};

} // namespace VxXmlLib16
