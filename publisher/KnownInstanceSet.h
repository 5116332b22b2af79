#pragma once

#include <cstddef>
#include <list>
#include <utility>
#include <vector>

#include "publisher/Remainder.h"

namespace qxk {
class BaseInstance;
}

namespace webapi {

// The instances a tree client has been told of, by plain pointer; the set
// takes no reference. It is only ever asked whether it holds a pointer.
//
// All elements lie on one list, and each bucket is the span of the list
// that holds its elements (first, and the position behind the last), so a
// bucket's elements are adjacent. Bucket counts come from du::HashNextPrime.
class KnownInstanceSet {
public:
    KnownInstanceSet();

    // Makes room for count elements; grows only when count exceeds the
    // bucket count and the host offers a larger one.
    void Reserve(std::size_t count);
    // False when the pointer was there already.
    bool Insert(const qxk::BaseInstance* instance);
    // False when the pointer was not there.
    bool Erase(const qxk::BaseInstance* instance);
    bool Contains(const qxk::BaseInstance* instance) const;
    // Starts bringing in the bucket that a later Contains of the pointer
    // reads, so that a caller asking of many pointers in a row does not wait
    // on each bucket's miss in turn.
    void Prefetch(const qxk::BaseInstance* instance) const;
    std::size_t Size() const { return elements.size(); }
    std::size_t BucketCount() const { return buckets.size(); }

private:
    using List = std::list<const qxk::BaseInstance*>;
    using Bucket = std::pair<List::iterator, List::iterator>;

    std::size_t BucketOf(const qxk::BaseInstance* instance) const;
    List::iterator Find(const qxk::BaseInstance* instance, std::size_t bucket);
    // Puts the bucket count to count and relinks every element in list order.
    void Rebuild(std::size_t count);
    void Link(List::iterator element);

    List elements;
    std::vector<Bucket> buckets;
    // By the bucket count: a 64-bit division would cost more than the rest
    // of a look-up whose bucket is in cache.
    Remainder bucketOf;
};

}  // namespace webapi
