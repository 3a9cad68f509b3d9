#pragma once
// The records of a catalog's numbered sections, by ascending component id.
// A file may hold hundreds of thousands of sections, so the records lie in
// one sorted array, without a node per record; a record is looked up by
// binary search.

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

#include "orvik/module/component.h"

namespace Orvik {

template <class Record>
class TSortedRecords {
public:
    using value_type = std::pair<ComponentId, Record>;
    using iterator = typename std::vector<value_type>::iterator;
    using const_iterator = typename std::vector<value_type>::const_iterator;

    iterator begin() { return records_.begin(); }
    iterator end() { return records_.end(); }
    const_iterator begin() const { return records_.begin(); }
    const_iterator end() const { return records_.end(); }
    bool empty() const { return records_.empty(); }

    iterator find(ComponentId id)
    {
        const iterator found = std::lower_bound(records_.begin(), records_.end(), id, IdBelow);
        return found != records_.end() && found->first == id ? found : records_.end();
    }
    bool contains(ComponentId id) const
    {
        const const_iterator found = std::lower_bound(records_.begin(), records_.end(), id, IdBelow);
        return found != records_.end() && found->first == id;
    }
    Record& at(ComponentId id)
    {
        const iterator found = find(id);
        if (found == records_.end()) throw std::out_of_range("no record for the component id");
        return found->second;
    }

    // While a file is parsed: a record for an id replaces an earlier one.
    // Files list their sections mostly in ascending order; a record that
    // comes out of order waits aside until Finish merges it in. Room that
    // is reserved but never filled takes no memory of the machine.
    void Reserve(size_t count) { records_.reserve(records_.size() + count); }
    void Append(ComponentId id, const Record& record)
    {
        if (records_.empty() || records_.back().first < id) {
            records_.emplace_back(id, record);
        } else if (const iterator found = find(id); found != records_.end()) {
            found->second = record;
        } else {
            stragglers_.emplace_back(id, record);
        }
    }
    void Finish()
    {
        if (stragglers_.empty()) return;
        // Of several stragglers for one id the last one stays.
        std::stable_sort(stragglers_.begin(), stragglers_.end(), ById);
        auto kept = stragglers_.begin();
        for (auto straggler = stragglers_.begin(); straggler != stragglers_.end(); ++straggler) {
            const auto next = std::next(straggler);
            if (next != stragglers_.end() && next->first == straggler->first) continue;
            if (kept != straggler) *kept = *straggler;
            ++kept;
        }
        stragglers_.erase(kept, stragglers_.end());
        // Merged from the back: the records above the last straggler move
        // up past all that wait, in one block, then it takes its place.
        size_t ordered = records_.size();
        size_t waiting = stragglers_.size();
        records_.resize(ordered + waiting);
        for (; waiting > 0; --waiting) {
            const value_type& straggler = stragglers_[waiting - 1];
            const auto above = std::lower_bound(records_.begin(), records_.begin() + ordered, straggler.first, IdBelow);
            const auto top = records_.begin() + ordered;
            std::move_backward(above, top, top + waiting);
            *(above + (waiting - 1)) = straggler;
            ordered = static_cast<size_t>(above - records_.begin());
        }
        std::vector<value_type>().swap(stragglers_);
    }

private:
    static bool IdBelow(const value_type& record, ComponentId id) { return record.first < id; }
    static bool ById(const value_type& a, const value_type& b) { return a.first < b.first; }

    std::vector<value_type> records_;
    std::vector<value_type> stragglers_;
};

}  // namespace Orvik
