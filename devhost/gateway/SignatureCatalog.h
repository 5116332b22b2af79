#pragma once

#include <string>
#include <vector>

namespace devhost::gateway {

// One parameter of a method as its signature tells it: "I" or "O", and a
// type code ("S", "d", "l", "ul", "b", "Q" and a code, "R" and an
// interface name).
struct Parameter {
    bool out = false;
    std::string type;
};

// A method as an interface's proxy factory publishes it.
struct MethodEntry {
    int index = 0;  // place in the sorted signatures
    std::string signature;
    int id = 0;  // message id
    std::string name;
    std::vector<Parameter> parameters;
};

struct InterfaceEntry {
    std::string name;
    std::vector<MethodEntry> methods;  // index order

    const MethodEntry* FindById(int id) const;
    // By full signature, or by bare name when one method has it. ambiguous
    // is set when several do.
    const MethodEntry* Find(const std::string& nameOrSignature, bool* ambiguous = nullptr) const;
};

// Splits a signature into the method's name and its parameters; false for
// text that is not a signature.
bool ParseSignature(const std::string& signature, std::string& name, std::vector<Parameter>& parameters);

// The interface name of a reference type code ("Rwebapi::TreeObserver"), or
// "" for another code.
std::string ReferencedInterface(const std::string& type);

// The method tables of an interface and of every interface that its
// signatures reference, read from the registered proxy factories. It is a
// copy: it stays valid when the library that registered them is unloaded.
class SignatureCatalog {
public:
    // Reads the interface named served and follows its references. An
    // interface without a registered factory is left out.
    static SignatureCatalog Read(const std::string& served);

    const std::string& Served() const { return served_; }
    const InterfaceEntry* Find(const std::string& name) const;
    // The served interface first, then the others in the order found.
    const std::vector<InterfaceEntry>& Interfaces() const { return interfaces_; }

private:
    std::string served_;
    std::vector<InterfaceEntry> interfaces_;
};

}  // namespace devhost::gateway
