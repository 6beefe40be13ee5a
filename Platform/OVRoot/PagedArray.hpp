#pragma once

#include <atomic>
#include <bit>
#include <compare>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace OV {

/// Elements that are appended. A copy shares its pages with the original until one of the two
/// changes them, so it costs a step for each page and is a snapshot of what was there. An element
/// that is asked for to be changed, as of an array that is not const, costs a copy of its page when
/// another array shares that. References stay valid while elements are appended and no copy is
/// made. As with any container, any thread may read or copy an array that nobody changes.
template <class T>
class PagedArray {
    template <class Owner>
    class Iterator;

public:
    /// The names by which the standard's algorithms know a container.
    /// @{
    using value_type = T;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using iterator = Iterator<PagedArray>;
    using const_iterator = Iterator<const PagedArray>;
    /// @}

    PagedArray() = default;
    /// That many elements without a value of their own.
    explicit PagedArray(std::size_t count)
    {
        while (size_ < count)
            emplace_back();
    }
    /// That many copies of `value`.
    PagedArray(std::size_t count, const T& value)
    {
        while (size_ < count)
            push_back(value);
    }
    /// Copies of a range.
    template <std::input_iterator From>
    PagedArray(From first, From last)
    {
        append(first, last);
    }
    /// Copies of the list.
    PagedArray(std::initializer_list<T> elements) : PagedArray(elements.begin(), elements.end()) {}
    /// Shares the pages: a step for each.
    PagedArray(const PagedArray& other) requires std::is_copy_constructible_v<T>
        : pages_(other.pages_), size_(other.size_)
    {
        for (const auto& page : pages_)
            page->isShared.store(true, std::memory_order_relaxed);
    }
    /// Takes the pages over; `other` is empty then.
    PagedArray(PagedArray&& other) noexcept
        : pages_(std::move(other.pages_)), size_(std::exchange(other.size_, 0))
    {}
    /// Takes what was passed, copied or moved.
    PagedArray& operator=(PagedArray other) noexcept
    {
        swap(other);
        return *this;
    }
    ~PagedArray() = default;

    /// A step for each page at most.
    /// @{
    void swap(PagedArray& other) noexcept
    {
        pages_.swap(other.pages_);
        std::swap(size_, other.size_);
    }
    void clear() noexcept
    {
        pages_.clear();
        size_ = 0;
    }
    /// @}

    /// In elements.
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    /// Whether there is none.
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    /// `at` must be below the size.
    [[nodiscard]] const T& operator[](std::size_t at) const noexcept
    {
        return *pages_[at / PageLength()]->At(at % PageLength());
    }
    /// The same to be changed, which may copy a page.
    [[nodiscard]] T& operator[](std::size_t at)
    {
        auto& page = pages_[at / PageLength()];
        if (page->IsShared())
            page = CopyOf(*page);
        return *page->At(at % PageLength());
    }
    /// The first and the last element; there must be one.
    /// @{
    [[nodiscard]] const T& front() const noexcept { return (*this)[0]; }
    [[nodiscard]] T& front() { return (*this)[0]; }
    [[nodiscard]] const T& back() const noexcept { return (*this)[size_ - 1]; }
    [[nodiscard]] T& back() { return (*this)[size_ - 1]; }
    /// @}

    /// Random-access iterators; those of an array that is not const may copy a page when they are
    /// dereferenced.
    /// @{
    [[nodiscard]] const_iterator begin() const noexcept { return {*this, 0}; }
    [[nodiscard]] const_iterator end() const noexcept { return {*this, size_}; }
    [[nodiscard]] const_iterator cbegin() const noexcept { return begin(); }
    [[nodiscard]] const_iterator cend() const noexcept { return end(); }
    [[nodiscard]] iterator begin() noexcept { return {*this, 0}; }
    [[nodiscard]] iterator end() noexcept { return {*this, size_}; }
    /// @}

    /// The arguments may stand in this array.
    template <class... Arguments>
    T& emplace_back(Arguments&&... arguments)
    {
        const std::size_t at = size_ % PageLength();
        if (at != 0 && !pages_.back()->IsShared())
            pages_.back()->Add(std::forward<Arguments>(arguments)...);
        else {
            auto page = at == 0 ? std::make_shared<Page>() : CopyOf(*pages_.back());
            page->Add(std::forward<Arguments>(arguments)...);
            if (at == 0)
                pages_.push_back(std::move(page));
            else
                pages_.back() = std::move(page);
        }
        ++size_;
        return *pages_.back()->At(at);
    }
    /// Adds an element, which may stand in this array.
    /// @{
    void push_back(const T& element) { emplace_back(element); }
    void push_back(T&& element) { emplace_back(std::move(element)); }
    /// @}
    /// Adds copies of a range, which must not be of this array.
    template <std::input_iterator From>
    void append(From first, From last)
    {
        for (; first != last; ++first)
            emplace_back(*first);
    }

    /// Leaves `other` empty. Whole pages change their owner when this array ends with one.
    void append(PagedArray&& other)
    {
        if (size_ % PageLength() == 0) {
            pages_.insert(pages_.end(), std::make_move_iterator(other.pages_.begin()),
                          std::make_move_iterator(other.pages_.end()));
            size_ += std::exchange(other.size_, 0);
            other.pages_.clear();
            return;
        }
        append(std::make_move_iterator(other.begin()), std::make_move_iterator(other.end()));
        other.clear();
    }

    /// How many elements from the first one on are known to be those of `other`, as one is a copy
    /// of the other or both are of a third; found in a step for each page.
    [[nodiscard]] std::size_t CountShared(const PagedArray& other) const noexcept
    {
        std::size_t pages = 0;
        while (pages < pages_.size() && pages < other.pages_.size() &&
               pages_[pages] == other.pages_[pages])
            ++pages;
        const std::size_t count = pages * PageLength();
        return count < size_ ? count : size_;
    }

    /// The same elements in the same order.
    friend bool operator==(const PagedArray& left, const PagedArray& right)
    {
        if (left.size_ != right.size_)
            return false;
        for (auto one = left.begin(), other = right.begin(); one != left.end(); ++one, ++other)
            if (!(*one == *other))
                return false;
        return true;
    }

private:
    static constexpr std::size_t PageLength() noexcept
    {
        return sizeof(T) > 16 * 1024 ? 1 : std::bit_floor(16 * 1024 / sizeof(T));
    }

    /// Filled from the front.
    class Page {
    public:
        Page() noexcept {}  // NOLINT(modernize-use-equals-default): the room stays as it is
        Page(const Page& other)
        {
            for (std::size_t at = 0; at < other.size_; ++at)
                Add(std::as_const(*other.At(at)));
        }
        Page& operator=(const Page&) = delete;
        ~Page() { std::destroy_n(At(0), size_); }

        [[nodiscard]] T* At(std::size_t at) noexcept { return Elements() + at; }
        [[nodiscard]] const T* At(std::size_t at) const noexcept
        {
            return const_cast<Page*>(this)->Elements() + at;
        }
        template <class... Arguments>
        void Add(Arguments&&... arguments)
        {
            std::construct_at(At(size_), std::forward<Arguments>(arguments)...);
            ++size_;
        }
        [[nodiscard]] bool IsShared() const noexcept
        {
            return isShared.load(std::memory_order_relaxed);
        }

        /// Set once more than one array has it, for good: nobody changes it from then on.
        std::atomic<bool> isShared = false;

    private:
        [[nodiscard]] T* Elements() noexcept { return reinterpret_cast<T*>(room_); }

        std::size_t size_ = 0;
        alignas(T) std::byte room_[PageLength() * sizeof(T)];
    };

    static std::shared_ptr<Page> CopyOf(const Page& page)
    {
        if constexpr (std::is_copy_constructible_v<T>)
            return std::make_shared<Page>(page);
        else
            return nullptr;  // nothing shares the pages of what cannot be copied
    }

    template <class Owner>
    class Iterator {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using reference = std::conditional_t<std::is_const_v<Owner>, const T&, T&>;
        using pointer = std::remove_reference_t<reference>*;

        Iterator() = default;
        Iterator(Owner& owner, std::size_t at) noexcept : owner_(&owner), at_(at) {}
        operator Iterator<const PagedArray>() const noexcept  // as containers' iterators do
            requires(!std::is_const_v<Owner>)
        {
            return {*owner_, at_};
        }

        reference operator*() const { return (*owner_)[at_]; }
        pointer operator->() const { return &(*owner_)[at_]; }
        reference operator[](difference_type distance) const { return *(*this + distance); }
        Iterator& operator++() noexcept { return *this += 1; }
        Iterator& operator--() noexcept { return *this -= 1; }
        Iterator operator++(int) noexcept { return std::exchange(*this, *this + 1); }
        Iterator operator--(int) noexcept { return std::exchange(*this, *this - 1); }
        Iterator& operator+=(difference_type distance) noexcept
        {
            at_ += static_cast<std::size_t>(distance);
            return *this;
        }
        Iterator& operator-=(difference_type distance) noexcept { return *this += -distance; }
        friend Iterator operator+(Iterator at, difference_type distance) noexcept
        {
            return at += distance;
        }
        friend Iterator operator+(difference_type distance, Iterator at) noexcept
        {
            return at += distance;
        }
        friend Iterator operator-(Iterator at, difference_type distance) noexcept
        {
            return at -= distance;
        }
        friend difference_type operator-(Iterator left, Iterator right) noexcept
        {
            return static_cast<difference_type>(left.at_ - right.at_);
        }
        friend bool operator==(Iterator left, Iterator right) noexcept
        {
            return left.at_ == right.at_;
        }
        friend auto operator<=>(Iterator left, Iterator right) noexcept
        {
            return left.at_ <=> right.at_;
        }

    private:
        Owner* owner_ = nullptr;
        std::size_t at_ = 0;
    };

    std::vector<std::shared_ptr<Page>> pages_;
    std::size_t size_ = 0;
};

}  // namespace OV
