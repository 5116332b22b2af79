#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "devhost/app/ArgumentText.h"
#include "du/SmartPtr.h"
#include "remote/WebApiModule.h"

namespace devhost::app {

// Calls the module's methods from command lines of the form
// "MethodName argument ...", through the client's proxy, and prints each
// call's result. Methods that take a reference get the client's own
// callback object.
class CommandConsole {
public:
    CommandConsole(du::SmartPtr<webapi::WebApiModule> module, CallbackObjects callbacks, std::ostream& out);

    // False when the line names no method or its arguments do not fit; what
    // is wrong is printed. Exceptions of the messaging layer are printed too.
    bool Run(const std::string& line);

    static std::vector<std::string> MethodNames();

private:
    du::SmartPtr<webapi::WebApiModule> module_;
    CallbackObjects callbacks_;
    std::ostream& out_;
};

}  // namespace devhost::app
