#include "commands/ModuleTrace.h"

namespace webapi {

const dp::QXTracer& ModuleTracer() {
    static const dp::QXTracer tracer("web", "api");
    return tracer;
}

}  // namespace webapi
