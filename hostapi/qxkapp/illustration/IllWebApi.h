#pragma once

#include "qxkapp/illustration/ProfileWebApi.h"

namespace qxkapp {
namespace illustration {

// Optional host module serving the profiles of the illustration views, loaded by name.
class IllWebApi : public ProfileWebApi {};

}  // namespace illustration
}  // namespace qxkapp
