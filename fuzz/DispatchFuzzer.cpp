// Arbitrary messages to the module's actor: any method table and tag, and
// any run of typed values, handles of every interface among them. Input
// layout (little-endian, zeros past the end):
//   flags  bit 0: one-way; bit 1: a 16-bit method table follows (else 0);
//          bit 2: the tag is 16 bits (else 8 bits, signed)
//   tag
//   values, at most 24, each a type byte (taken modulo 7) and its payload:
//     0 null string; 1 string: length byte and bytes; 2 double; 3 int32;
//     4 uint32; 5 bool byte; 6 handle: kind byte (FuzzHost::Handle), table
// A request may end only with its reply or with the messaging layer's
// protocol failure (bad table, bad tag, short or mistyped values); after
// every input the module must still serve.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <vector>

#include "ByteReader.h"
#include "FuzzHost.h"
#include "devhost/platform/RawMessages.h"
#include "dom/Exceptions.h"

namespace {

devhost::MessageValue TakeValue(fuzz::ByteReader& in) {
    switch (in.Take<std::uint8_t>() % 7) {
        case 0: return du::Symbol();
        case 1: return du::Symbol(in.TakeText());
        case 2: return in.Take<double>();
        case 3: return in.Take<std::int32_t>();
        case 4: return in.Take<std::uint32_t>();
        case 5: return in.Take<std::uint8_t>() % 2 == 1;
        default: {
            const unsigned kind = in.Take<std::uint8_t>();
            return fuzz::FuzzHost::Get().Handle(kind, in.Take<std::int16_t>());
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::FuzzHost::Get();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzHost& host = fuzz::FuzzHost::Get();
    fuzz::ByteReader in(data, size);
    const auto flags = in.Take<std::uint8_t>();
    const bool oneWay = flags & 1;
    const short table = (flags & 2) ? in.Take<std::int16_t>() : 0;
    const short tag = (flags & 4) ? in.Take<std::int16_t>() : in.Take<std::int8_t>();
    std::vector<devhost::MessageValue> values;
    while (!in.Empty() && values.size() < 24) values.push_back(TakeValue(in));

    try {
        devhost::SendRawMessage(host.ModuleObject(), table, tag, values, !oneWay);
    } catch (const dom::MessageProtocolException&) {
        // The sender's side of a bad table, a bad tag or values that do not decode.
    } catch (const std::exception& e) {
        fuzz::FuzzHost::Finding(std::string("request ended with: ") + e.what());
    }
    try {
        host.CloseLoadGroup();
    } catch (const std::exception& e) {
        fuzz::FuzzHost::Finding(std::string("the module no longer serves: ") + e.what());
    }
    host.SettleAndCheck();
    return 0;
}
