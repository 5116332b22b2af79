#include "publisher/KnownInstanceSet.h"

#include <cstdint>

#include "du/StringUtil.h"

namespace webapi {

KnownInstanceSet::KnownInstanceSet() { Rebuild(du::HashNextPrime(0)); }

std::size_t KnownInstanceSet::BucketOf(const qxk::BaseInstance* instance) const {
    // Instances are at least four-byte aligned: the low bits say nothing.
    return bucketOf.Of(reinterpret_cast<std::uintptr_t>(instance) >> 2);
}

KnownInstanceSet::List::iterator KnownInstanceSet::Find(const qxk::BaseInstance* instance, std::size_t bucket) {
    for (auto it = buckets[bucket].first; it != buckets[bucket].second; ++it)
        if (*it == instance) return it;
    return elements.end();
}

bool KnownInstanceSet::Contains(const qxk::BaseInstance* instance) const {
    const Bucket& bucket = buckets[BucketOf(instance)];
    for (auto it = bucket.first; it != bucket.second; ++it)
        if (*it == instance) return true;
    return false;
}

void KnownInstanceSet::Prefetch(const qxk::BaseInstance* instance) const {
    __builtin_prefetch(&buckets[BucketOf(instance)]);
}

void KnownInstanceSet::Reserve(std::size_t count) {
    if (count <= buckets.size()) return;
    const std::size_t offered = du::HashNextPrime(count);
    if (offered > buckets.size()) Rebuild(offered);
}

// A new element goes behind the last of its bucket; the first of a bucket
// goes to the front of the whole list.
void KnownInstanceSet::Link(List::iterator element) {
    Bucket& bucket = buckets[BucketOf(*element)];
    if (bucket.first == elements.end()) {
        elements.splice(elements.begin(), elements, element);
        bucket.first = element;
        bucket.second = std::next(element);
        return;
    }
    elements.splice(bucket.second, elements, element);
}

void KnownInstanceSet::Rebuild(std::size_t count) {
    List old;
    old.swap(elements);
    buckets.assign(count, Bucket(elements.end(), elements.end()));
    bucketOf = Remainder(count);
    while (!old.empty()) {
        auto element = old.begin();
        elements.splice(elements.end(), old, element);
        Link(element);
    }
}

bool KnownInstanceSet::Insert(const qxk::BaseInstance* instance) {
    const std::size_t bucket = BucketOf(instance);
    if (Find(instance, bucket) != elements.end()) return false;
    elements.push_back(instance);
    Link(std::prev(elements.end()));
    return true;
}

bool KnownInstanceSet::Erase(const qxk::BaseInstance* instance) {
    const std::size_t index = BucketOf(instance);
    auto found = Find(instance, index);
    if (found == elements.end()) return false;
    const auto behind = std::next(found);
    // The bucket just before on the list may end at this element.
    if (found != elements.begin()) {
        Bucket& before = buckets[BucketOf(*std::prev(found))];
        if (before.second == found) before.second = behind;
    }
    Bucket& bucket = buckets[index];
    if (bucket.first == found) {
        bucket.first = behind;
        if (bucket.first == bucket.second) bucket = Bucket(elements.end(), elements.end());
    }
    elements.erase(found);
    return true;
}

}  // namespace webapi
