#ifndef ORBA_FACTORYDATA_PLACED_FILE_H
#define ORBA_FACTORYDATA_PLACED_FILE_H

namespace orba::fbe {

// Media storage owns every placed file, so the media provider can index it after the move.
constexpr unsigned kMediaId = 1023;
constexpr unsigned kPlacedMode = 0775;

// Permissions, then the build date: the state every copied file ends up in.
void FinishPlacedFile(const char* path);

}  // namespace orba::fbe

#endif
