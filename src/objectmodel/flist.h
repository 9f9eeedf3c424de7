#pragma once

#include <QtGlobal>

#include <iterator>
#include <utility>

// A doubly linked ring through one sentinel node. Iterators and element
// addresses stay valid across insertions, which the event handler and
// delegate lists rely on while they are walked.
template <typename T> class FList
{
    struct NodeBase
    {
        NodeBase *prev;
        NodeBase *next;
    };
    struct Node : NodeBase
    {
        explicit Node(const T &v) : value(v) {}
        T value;
    };

public:
    template <bool Const> class Iterator
    {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = std::conditional_t<Const, const T *, T *>;
        using reference = std::conditional_t<Const, const T &, T &>;

        Iterator() = default;
        explicit Iterator(NodeBase *n) : m_node(n) {}
        template <bool C = Const, typename = std::enable_if_t<C>>
        Iterator(const Iterator<false> &other) : m_node(other.node())
        {}

        reference operator*() const { return static_cast<Node *>(m_node)->value; }
        pointer operator->() const { return &static_cast<Node *>(m_node)->value; }
        Iterator &operator++()
        {
            m_node = m_node->next;
            return *this;
        }
        Iterator operator++(int)
        {
            Iterator old = *this;
            m_node = m_node->next;
            return old;
        }
        Iterator &operator--()
        {
            m_node = m_node->prev;
            return *this;
        }
        Iterator operator--(int)
        {
            Iterator old = *this;
            m_node = m_node->prev;
            return old;
        }
        bool operator==(const Iterator &o) const { return m_node == o.m_node; }
        bool operator!=(const Iterator &o) const { return m_node != o.m_node; }
        NodeBase *node() const { return m_node; }

    private:
        NodeBase *m_node = nullptr;
    };
    using iterator = Iterator<false>;
    using const_iterator = Iterator<true>;

    FList() { m_head.prev = m_head.next = &m_head; }
    FList(const FList &other) : FList()
    {
        for (const T &v : other)
            append(v);
    }
    FList(FList &&other) noexcept : FList() { swap(other); }
    ~FList() { clear(); }

    FList &operator=(const FList &other)
    {
        if (this != &other) {
            FList copy(other);
            swap(copy);
        }
        return *this;
    }
    FList &operator=(FList &&other) noexcept
    {
        swap(other);
        return *this;
    }

    void swap(FList &other) noexcept
    {
        // The sentinels stay where they are; only the rings are exchanged.
        FList tmp;
        tmp.takeRing(*this);
        takeRing(other);
        other.takeRing(tmp);
    }

    iterator begin() { return iterator(m_head.next); }
    iterator end() { return iterator(&m_head); }
    const_iterator begin() const { return const_iterator(m_head.next); }
    const_iterator end() const { return const_iterator(const_cast<NodeBase *>(&m_head)); }

    iterator append(const T &v) { return insert(end(), v); }
    iterator prepend(const T &v) { return insert(begin(), v); }
    iterator insert(iterator before, const T &v)
    {
        Node *n = new Node(v);
        NodeBase *next = before.node();
        n->next = next;
        n->prev = next->prev;
        next->prev->next = n;
        next->prev = n;
        ++m_count;
        return iterator(n);
    }
    // Index insertion; an index past the end appends.
    iterator insert(int index, const T &v) { return insert(nodeAt(index), v); }

    iterator erase(iterator it)
    {
        NodeBase *n = it.node();
        Q_ASSERT(n != &m_head);
        NodeBase *next = n->next;
        n->prev->next = next;
        next->prev = n->prev;
        delete static_cast<Node *>(n);
        --m_count;
        return iterator(next);
    }

    // Removes every element equal to v and tells how many went.
    int remove(const T &v)
    {
        int removed = 0;
        for (iterator it = begin(); it != end();) {
            if (*it == v) {
                it = erase(it);
                ++removed;
            } else {
                ++it;
            }
        }
        return removed;
    }

    template <typename Pred> int removeIf(Pred pred)
    {
        int removed = 0;
        for (iterator it = begin(); it != end();) {
            if (pred(*it)) {
                it = erase(it);
                ++removed;
            } else {
                ++it;
            }
        }
        return removed;
    }

    void clear()
    {
        while (m_count > 0)
            erase(begin());
    }

    iterator find(const T &v)
    {
        for (iterator it = begin(); it != end(); ++it)
            if (*it == v)
                return it;
        return end();
    }
    const_iterator find(const T &v) const { return const_cast<FList *>(this)->find(v); }
    iterator findRev(const T &v)
    {
        for (iterator it = iterator(m_head.prev); it != end(); --it)
            if (*it == v)
                return it;
        return end();
    }
    int findIndex(const T &v) const
    {
        int i = 0;
        for (const T &x : *this) {
            if (x == v)
                return i;
            ++i;
        }
        return -1;
    }
    bool contains(const T &v) const { return findIndex(v) >= 0; }

    T &at(int i)
    {
        Q_ASSERT(i >= 0 && i < m_count);
        return static_cast<Node *>(nodeAt(i).node())->value;
    }
    const T &at(int i) const { return const_cast<FList *>(this)->at(i); }
    T &operator[](int i) { return at(i); }
    const T &operator[](int i) const { return at(i); }

    T &first() { return at(0); }
    const T &first() const { return at(0); }
    T &last()
    {
        Q_ASSERT(m_count > 0);
        return static_cast<Node *>(m_head.prev)->value;
    }
    const T &last() const { return const_cast<FList *>(this)->last(); }

    int count() const { return m_count; }
    int size() const { return m_count; }
    bool isEmpty() const { return m_count == 0; }
    bool empty() const { return m_count == 0; }

    FList &operator<<(const T &v)
    {
        append(v);
        return *this;
    }

    bool operator==(const FList &other) const
    {
        if (m_count != other.m_count)
            return false;
        const_iterator a = begin();
        const_iterator b = other.begin();
        for (; a != end(); ++a, ++b)
            if (!(*a == *b))
                return false;
        return true;
    }
    bool operator!=(const FList &other) const { return !(*this == other); }

private:
    iterator nodeAt(int index)
    {
        if (index < 0 || index >= m_count)
            return end();
        iterator it = begin();
        while (index-- > 0)
            ++it;
        return it;
    }

    void takeRing(FList &other)
    {
        Q_ASSERT(m_count == 0);
        if (other.m_count == 0)
            return;
        m_head.next = other.m_head.next;
        m_head.prev = other.m_head.prev;
        m_head.next->prev = &m_head;
        m_head.prev->next = &m_head;
        m_count = other.m_count;
        other.m_head.prev = other.m_head.next = &other.m_head;
        other.m_count = 0;
    }

    NodeBase m_head;
    int m_count = 0;
};
