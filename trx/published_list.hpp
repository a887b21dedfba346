// A list that one thread replaces and another reads without a lock.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

namespace ferrow {

// One writer, and one reader at a time. The reader announces what it looks at, so that the writer frees an
// old list only when nobody looks at it any more.
template <class T>
class PublishedList {
public:
    using List = std::vector<T>;

    PublishedList() = default;
    PublishedList(const PublishedList&) = delete;
    PublishedList& operator=(const PublishedList&) = delete;
    ~PublishedList() { delete current_.load(std::memory_order_acquire); }

    // The writer.
    void publish(List list) {
        auto* next = new List(std::move(list));
        retired_.emplace_back(current_.exchange(next, std::memory_order_seq_cst));
        std::erase_if(retired_, [this](const std::unique_ptr<List>& old) {
            return old.get() != reading_.load(std::memory_order_seq_cst);
        });
    }

    // The reader: calls visit(const T&) for each entry, in order.
    template <class Visit>
    void forEach(Visit&& visit) {
        List* list = current_.load(std::memory_order_seq_cst);
        for (;;) {
            reading_.store(list, std::memory_order_seq_cst);
            List* again = current_.load(std::memory_order_seq_cst);
            if (again == list)
                break;
            list = again;
        }
        if (list != nullptr)
            for (const T& entry : *list)
                visit(entry);
        reading_.store(nullptr, std::memory_order_release);
    }

private:
    std::atomic<List*> current_{nullptr};
    std::atomic<List*> reading_{nullptr};
    std::vector<std::unique_ptr<List>> retired_;
};

} // namespace ferrow
