#pragma once

#include "qxkapp/illustration/ProfileWebApi.h"

namespace qxkapp {
namespace illustration {

// Optional host module serving the profiles of the schematic views, loaded by name.
class SchWebApi : public ProfileWebApi {};

}  // namespace illustration
}  // namespace qxkapp
