#include "devhost/samples/SampleWorlds.h"

#include "devhost/content/ContentWorldFile.h"

namespace devhost {

std::string DefaultSampleWorldPath() { return std::string(QXSAMPLES_DIR) + "/default/world.json"; }

du::SmartPtr<WorldModel> LoadDefaultSampleWorld() { return LoadContentWorldFile(DefaultSampleWorldPath()); }

}  // namespace devhost
