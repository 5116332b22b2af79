#include "devhost/app/CommandConsole.h"

#include <cstddef>
#include <exception>
#include <tuple>
#include <type_traits>
#include <utility>

namespace devhost::app {
namespace {

void PrintValue(std::ostream& out, const du::Symbol& value) {
    if (value.IsNull()) {
        out << "(null Symbol)";
    } else {
        out << '"' << value.safe_c_str() << '"';
    }
}
void PrintValue(std::ostream& out, unsigned int value) { out << value; }

template <class Parameter, class Local>
void PrintOut(std::ostream& out, const Local& local) {
    if constexpr (std::is_same_v<Parameter, du::Symbol&>) {
        out << "  out: ";
        PrintValue(out, local);
        out << '\n';
    }
}

template <class T>
struct TypeTag {
    using type = T;
};

// The place of the last parameter that takes text, which takes the rest of
// the line; the count of parameters when none does.
template <class... Parameters>
constexpr std::size_t LastTextParameter() {
    constexpr bool takesText[] = {ArgumentText<Parameters>::kTakesText..., false};
    std::size_t last = sizeof...(Parameters);
    for (std::size_t i = 0; i < sizeof...(Parameters); ++i)
        if (takesText[i]) last = i;
    return last;
}

// Reads the arguments of one method from the line, in the order of its
// parameters, and calls it; the last parameter that takes text takes the rest
// of the line.
template <class Result, class... Parameters, std::size_t... K>
bool Invoke(ArgumentCursor& cursor, const CallbackObjects& callbacks, webapi::WebApiModule& module,
            Result (webapi::WebApiModule::*method)(Parameters...), std::ostream& out, std::index_sequence<K...>) {
    [[maybe_unused]] constexpr std::size_t kLastText = LastTextParameter<Parameters...>();
    std::tuple<std::decay_t<Parameters>...> locals;
    [[maybe_unused]] auto readOne = [&](auto index, auto& local, auto tag) {
        using Parameter = typename decltype(tag)::type;
        std::string text;
        if constexpr (ArgumentText<Parameter>::kTakesText) {
            const bool got = index.value == kLastText ? cursor.Rest(text) : cursor.Next(text);
            if (!got) return false;
        }
        return ArgumentText<Parameter>::Read(text, callbacks, local);
    };
    const bool fits =
        (readOne(std::integral_constant<std::size_t, K>(), std::get<K>(locals), TypeTag<Parameters>()) && ...);
    if (!fits || !cursor.AtEnd()) return false;

    if constexpr (std::is_void_v<Result>) {
        (module.*method)(std::get<K>(locals)...);
        out << "  done\n";
    } else {
        const Result result = (module.*method)(std::get<K>(locals)...);
        out << "  result: ";
        PrintValue(out, result);
        out << '\n';
    }
    (PrintOut<Parameters>(out, std::get<K>(locals)), ...);
    return true;
}

template <class Result, class... Parameters>
bool Invoke(ArgumentCursor& cursor, const CallbackObjects& callbacks, webapi::WebApiModule& module,
            Result (webapi::WebApiModule::*method)(Parameters...), std::ostream& out) {
    return Invoke(cursor, callbacks, module, method, out, std::index_sequence_for<Parameters...>());
}

}  // namespace

CommandConsole::CommandConsole(du::SmartPtr<webapi::WebApiModule> module, CallbackObjects callbacks,
                               std::ostream& out)
    : module_(std::move(module)), callbacks_(std::move(callbacks)), out_(out) {}

std::vector<std::string> CommandConsole::MethodNames() {
    return {
#define WEBAPI_METHOD(Id, Index, Name, ...) #Name,
#include "remote/WebApiModule.def"
    };
}

bool CommandConsole::Run(const std::string& line) {
    ArgumentCursor cursor(line);
    std::string name;
    if (!cursor.Next(name)) return false;
    out_ << "> " << line << '\n';
    try {
#define WEBAPI_METHOD(Id, Index, Name, Signature, Result, Parameters, Arguments)                  \
    if (name == #Name) {                                                                          \
        if (Invoke(cursor, callbacks_, *module_, &webapi::WebApiModule::Name, out_)) return true; \
        out_ << "  usage: " #Name " " #Parameters "\n";                                            \
        return false;                                                                             \
    }
#include "remote/WebApiModule.def"
    } catch (const std::exception& failure) {
        out_ << "  failed: " << failure.what() << '\n';
        return false;
    }
    out_ << "  no such method\n";
    return false;
}

}  // namespace devhost::app
