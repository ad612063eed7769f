#pragma once
// ChunkedVector: a sequence that only grows at its end, kept in fixed blocks of
// 256 elements. An element never moves once placed (its address stays valid
// until clear()), and growing never copies what is already there, unlike a
// vector's doubling, nor allocates a small block every few elements, unlike a
// deque: the lists of a load append one element per item, 100k or more in a
// row.
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

template <typename T> class ChunkedVector {
public:
  ChunkedVector() = default;
  ~ChunkedVector() { clear(); }
  ChunkedVector(const ChunkedVector&) = delete;
  ChunkedVector& operator=(const ChunkedVector&) = delete;

  std::size_t size() const { return m_size; }
  bool empty() const { return m_size == 0; }

  T& operator[](std::size_t i) { return m_chunks[i >> Bits][i & Mask]; }
  const T& operator[](std::size_t i) const { return m_chunks[i >> Bits][i & Mask]; }
  T& back() { return (*this)[m_size - 1]; }

  template <typename... Args> T& emplace_back(Args&&... args) {
    if ((m_size >> Bits) == m_chunks.size())
      m_chunks.push_back(static_cast<T*>(::operator new(sizeof(T) << Bits)));
    T* at = &m_chunks[m_size >> Bits][m_size & Mask];
    new (at) T(std::forward<Args>(args)...);
    ++m_size;
    return *at;
  }
  void push_back(T value) { emplace_back(std::move(value)); }

  void clear() {
    for (std::size_t i = m_size; i-- > 0;)
      (*this)[i].~T();
    for (T* chunk : m_chunks)
      ::operator delete(chunk);
    m_chunks.clear();
    m_size = 0;
  }

private:
  enum : std::size_t { Bits = 8, Mask = (std::size_t(1) << Bits) - 1 };
  std::vector<T*> m_chunks;
  std::size_t m_size = 0;
};
