#ifndef ZEPH_VARIABLES_SPLAYTREE_H
#define ZEPH_VARIABLES_SPLAYTREE_H

#include <type_traits>

#include "variables/List.h"
#include "variables/Stack.h"

template <class T>
struct SplayTreeNode {
    SplayTreeNode* left;   // owned
    SplayTreeNode* right;  // owned
    T* element;
};

// An ordered tree of pointers to elements that know their own key. Every search by key
// brings the node that it ends at to the root, so that neighbours of what was just
// found are found in a few steps. A tree derives from it and supplies Key and Compare.
//
// Elements that go in sorted leave the tree one long path, so only small trees are walked
// by recursion. A tree that is an owner passes the elements that it still holds at its end to
// Purge, which deletes them; a derived tree that overrides Purge calls Dump() in its own
// destructor.
//
// A final derived class may name itself as Self: its Key and Compare are then called
// directly.
template <class T, class K, class Self = void>
class SplayTree {
public:
    explicit SplayTree(int owner) : m_owner(owner) {}
    // An owner gets copies of the elements, another tree shares them.
    SplayTree(const SplayTree& other) : m_owner(other.m_owner)
    {
        other.ForEach([this](T* element) { Append(m_owner ? new T(*element) : element); });
    }
    SplayTree& operator=(const SplayTree&) = delete;

    // The order of these is binary interface.

    virtual ~SplayTree() { SplayTree::Dump(); }
    // An equal key goes behind the one that is there.
    virtual void Insert(T* element)
    {
        ++m_count;
        Node* node = new Node{nullptr, nullptr, element};
        if (m_root) {
            K key = KeyOf(element);
            Splay(key);
            if (Order(key, m_root->element) < 0) {
                node->left = m_root->left;
                node->right = m_root;
                m_root->left = nullptr;
            } else {
                node->right = m_root->right;
                node->left = m_root;
                m_root->right = nullptr;
            }
        }
        m_root = node;
    }
    // Takes the element out and returns it, not deleted; null if there is none.
    virtual T* Remove(K key)
    {
        if (!Find(key))
            return nullptr;
        --m_count;
        Node* node = m_root;
        T* element = node->element;
        m_root = Joined(node->left, node->right);
        delete node;
        return element;
    }
    virtual T* Find(K key)
    {
        if (!m_root)
            return nullptr;
        Splay(key);
        return Order(key, m_root->element) == 0 ? m_root->element : nullptr;
    }
    // The nearest element behind or in front of a key, which need not be there; null
    // at an end.
    virtual T* Next(K key)
    {
        if (!m_root)
            return nullptr;
        Splay(key);
        return Order(key, m_root->element) < 0 ? m_root->element : Leftmost(m_root->right);
    }
    virtual T* Previous(K key)
    {
        if (!m_root)
            return nullptr;
        Splay(key);
        return Order(key, m_root->element) > 0 ? m_root->element : Rightmost(m_root->left);
    }
    virtual T* First() { return Leftmost(m_root); }
    virtual T* Last() { return Rightmost(m_root); }
    // Empties the tree; an owner purges the elements in order.
    virtual void Dump()
    {
        Release([this](T* element) {
            if (m_owner)
                Purge(element);
        });
    }
    // Ends an element that the tree owns.
    virtual void Purge(T* element) { delete element; }
    virtual K Key(T* element) = 0;
    // Below 0 if the key sorts before that of the element, 0 if they are equal.
    virtual int Compare(K key, T* element) = 0;

    int Entries() const { return m_count; }

    // Adds the elements to the tail of a list, in order.
    void AppendToList(List<T>& list) const
    {
        ForEach([&](T* element) { list.Insert(element, kListTail); });
    }
    // Puts an element behind all others; its key does not sort before theirs.
    void Append(T* element)
    {
        m_root = new Node{m_root, nullptr, element};
        ++m_count;
    }
    // Calls `visit(T*)` for each element in order. It does not change the tree nor search
    // in it; walking it again is fine.
    template <class Visit>
    void ForEach(Visit visit) const
    {
        if (m_count > kRecursionLimit)
            VisitStack(m_root, visit);
        else
            VisitRecurse(m_root, visit);
    }

protected:
    using Node = SplayTreeNode<T>;

    // A tree with no more entries than this is no deeper either.
    static constexpr int kRecursionLimit = 99;

    // Brings the node of the key, or one next to where it would be, to the root of a
    // tree that is not empty.
    void Splay(K key)
    {
        Node assembly{nullptr, nullptr, nullptr};
        Node* left = &assembly;   // all in front of the key hangs from its right link
        Node* right = &assembly;  // all behind the key hangs from its left link
        Node* node = m_root;
        for (int order; (order = Order(key, node->element)) != 0;) {
            if (order < 0) {
                if (node->left && Order(key, node->left->element) < 0)
                    node = RotatedRight(node);
                if (!node->left)
                    break;
                right = right->left = node;
                node = node->left;
            } else {
                if (node->right && Order(key, node->right->element) > 0)
                    node = RotatedLeft(node);
                if (!node->right)
                    break;
                left = left->right = node;
                node = node->right;
            }
        }
        left->right = node->left;
        right->left = node->right;
        node->left = assembly.right;
        node->right = assembly.left;
        m_root = node;
    }

    // Empties the tree and visits its elements in order, each when its node is gone.
    template <class Visit>
    void Release(Visit visit)
    {
        Node* node = m_root;
        m_root = nullptr;
        m_count = 0;
        while (node) {
            if (Node* left = node->left) {
                node->left = left->right;
                left->right = node;
                node = left;
                continue;
            }
            Node* right = node->right;
            T* element = node->element;
            delete node;
            node = right;
            visit(element);
        }
    }

    // Visits the elements below a node in order. A tree with few entries is no deeper than
    // that; the other form is for a larger one and keeps a stack of its own.
    template <class Visit>
    static void VisitRecurse(Node* node, Visit& visit)
    {
        for (; node; node = node->right) {
            VisitRecurse(node->left, visit);
            visit(node->element);
        }
    }
    template <class Visit>
    static void VisitStack(Node* node, Visit& visit)
    {
        Stack<Node> pending(0);
        for (;;) {
            for (; node; node = node->left)
                pending.Push(node);
            if (!(node = pending.Pop()))
                return;
            visit(node->element);
            node = node->right;
        }
    }

    bool is_owner() const { return m_owner != 0; }

    Node* m_root = nullptr;  // owned

private:
    K KeyOf(T* element)
    {
        if constexpr (std::is_void_v<Self>)
            return Key(element);
        else
            return static_cast<Self*>(this)->Key(element);
    }
    int Order(K key, T* element)
    {
        if constexpr (std::is_void_v<Self>)
            return Compare(key, element);
        else
            return static_cast<Self*>(this)->Compare(key, element);
    }
    static Node* RotatedRight(Node* node)
    {
        Node* top = node->left;
        node->left = top->right;
        top->right = node;
        return top;
    }
    static Node* RotatedLeft(Node* node)
    {
        Node* top = node->right;
        node->right = top->left;
        top->left = node;
        return top;
    }
    static T* Leftmost(Node* node)
    {
        while (node && node->left)
            node = node->left;
        return node ? node->element : nullptr;
    }
    static T* Rightmost(Node* node)
    {
        while (node && node->right)
            node = node->right;
        return node ? node->element : nullptr;
    }
    // One tree of what stood left and right of a removed node: the leftmost node of
    // the right side becomes the root.
    static Node* Joined(Node* left, Node* right)
    {
        if (!left || !right)
            return left ? left : right;
        Node* root = right;
        Node* above = nullptr;
        while (root->left) {
            above = root;
            root = root->left;
        }
        if (above) {
            above->left = root->right;
            root->right = right;
        }
        root->left = left;
        return root;
    }

    int m_owner;
    int m_count = 0;
};

#endif
