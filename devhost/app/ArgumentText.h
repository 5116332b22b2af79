#pragma once

#include <string>
#include <vector>

#include "du/SmartPtr.h"
#include "du/Symbol.h"
#include "remote/TreeObserver.h"
#include "remote/ViewablesRequest.h"

namespace devhost::app {

// The rest of a command line, taken apart argument by argument. An argument
// is one word, or a text in single quotes that may hold blanks; the last
// argument of a method takes the whole rest of the line as it stands.
class ArgumentCursor {
public:
    explicit ArgumentCursor(std::string text);
    bool Next(std::string& argument);
    bool Rest(std::string& argument);
    bool AtEnd() const;

private:
    void SkipBlanks();
    std::string text_;
    std::size_t position_ = 0;
};

// The client's own callback objects, handed to methods that take a reference.
struct CallbackObjects {
    du::SmartPtr<webapi::TreeObserver> treeObserver;
    du::SmartPtr<webapi::ViewablesRequest> viewablesRequest;
};

// How an argument of each parameter type is read from text. Read returns
// false for text that does not fit the type.
template <class Parameter>
struct ArgumentText;

template <>
struct ArgumentText<const du::Symbol&> {
    static constexpr bool kTakesText = true;
    static bool Read(const std::string& text, const CallbackObjects&, du::Symbol& value);
};
template <>
struct ArgumentText<double> {
    static constexpr bool kTakesText = true;
    static bool Read(const std::string& text, const CallbackObjects&, double& value);
};
template <>
struct ArgumentText<int> {
    static constexpr bool kTakesText = true;
    static bool Read(const std::string& text, const CallbackObjects&, int& value);
};
template <>
struct ArgumentText<unsigned int> {
    static constexpr bool kTakesText = true;
    static bool Read(const std::string& text, const CallbackObjects&, unsigned int& value);
};
template <>
struct ArgumentText<bool> {
    static constexpr bool kTakesText = true;
    static bool Read(const std::string& text, const CallbackObjects&, bool& value);
};
// Comma-separated; "-" is the empty list.
template <>
struct ArgumentText<const std::vector<du::Symbol>&> {
    static constexpr bool kTakesText = true;
    static bool Read(const std::string& text, const CallbackObjects&, std::vector<du::Symbol>& value);
};
// References are the client's own callback objects; they take no text.
template <>
struct ArgumentText<const du::SmartPtr<webapi::TreeObserver>&> {
    static constexpr bool kTakesText = false;
    static bool Read(const std::string&, const CallbackObjects& objects, du::SmartPtr<webapi::TreeObserver>& value) {
        value = objects.treeObserver;
        return true;
    }
};
template <>
struct ArgumentText<const du::SmartPtr<webapi::ViewablesRequest>&> {
    static constexpr bool kTakesText = false;
    static bool Read(const std::string&, const CallbackObjects& objects,
                     du::SmartPtr<webapi::ViewablesRequest>& value) {
        value = objects.viewablesRequest;
        return true;
    }
};
// An out argument takes no text; the call fills it.
template <>
struct ArgumentText<du::Symbol&> {
    static constexpr bool kTakesText = false;
    static bool Read(const std::string&, const CallbackObjects&, du::Symbol&) { return true; }
};

}  // namespace devhost::app
