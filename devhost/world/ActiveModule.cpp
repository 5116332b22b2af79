#include "qxk/ActiveModule.h"

namespace qxk {

ActiveModule::~ActiveModule() = default;

}  // namespace qxk
