#ifndef ORBA_ENGINEER_ENGINEER_EDITION_H
#define ORBA_ENGINEER_ENGINEER_EDITION_H

namespace orba::engineer {

// One edition of the engineer-mode app, by the three names the service knows it by.
struct Edition {
  const char* service_class;  // what isServiceWork asks about
  const char* tag;            // what the app registers its message callback under
  const char* component;      // what startServiceFromAtcid starts
};

extern const Edition kUserEdition;
extern const Edition kAftersaleEdition;
extern const Edition kStandardEdition;

// The edition this phone runs, from its user and after-sales mode properties (user first).
const Edition& CurrentEdition();

// False on a board-support build, which carries none of the engineer-mode apps.
bool EngineerModeInstalled();

}  // namespace orba::engineer

#endif
