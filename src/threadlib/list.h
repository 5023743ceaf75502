// A doubly linked list whose nodes live inside the items.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_LIST_H
#define WPK_THREADLIB_LIST_H

#include <cstdint>

namespace wpk::core {

template <class Item>
class List;

/// An item's place in a list. It lives inside the item, so that putting an item into a list cannot fail; it leaves its
/// list when it is destroyed, so that no list ever points at a freed item.
template <class Item>
class ListNode {
public:
    explicit ListNode(Item& item) : item_(item) {}
    ListNode(const ListNode&) = delete;
    ListNode& operator=(const ListNode&) = delete;
    ~ListNode() {
        if (list_) list_->Remove(*this);
    }

    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): it does not see that a freed item has left its list
    Item& GetItem() const { return item_; }
    ListNode* Next() const { return next_; }

private:
    friend class List<Item>;

    Item& item_;
    List<Item>* list_ = nullptr;
    ListNode* previous_ = nullptr;
    ListNode* next_ = nullptr;
};

/// The list owns nothing. One thread at a time.
template <class Item>
class List {
public:
    List() = default;
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    ~List() {
        while (Take()) continue;
    }

    uint32_t Count() const { return count_; }
    ListNode<Item>* Head() const { return head_; }

    /// Adds at the tail. The node must be in no list.
    void Append(ListNode<Item>& node) {
        node.list_ = this;
        node.previous_ = tail_;
        node.next_ = nullptr;
        if (tail_) {
            tail_->next_ = &node;
        } else {
            head_ = &node;
        }
        tail_ = &node;
        ++count_;
    }

    /// Removes the head; null when the list is empty.
    Item* Take() {
        if (!head_) return nullptr;
        Item& item = head_->GetItem();
        Remove(*head_);
        return &item;
    }

    /// Removes a node; false when it is not in this list.
    bool Remove(ListNode<Item>& node) {
        if (node.list_ != this) return false;
        if (node.previous_) {
            node.previous_->next_ = node.next_;
        } else {
            head_ = node.next_;
        }
        if (node.next_) {
            node.next_->previous_ = node.previous_;
        } else {
            tail_ = node.previous_;
        }
        node.list_ = nullptr;
        node.previous_ = node.next_ = nullptr;
        --count_;
        return true;
    }

private:
    ListNode<Item>* head_ = nullptr;
    ListNode<Item>* tail_ = nullptr;
    uint32_t count_ = 0;
};

}  // namespace wpk::core

#endif
