/// The rights of an administrator on every version of Wine.
#ifndef TESTS_SUPPORT_ELEVATION_H
#define TESTS_SUPPORT_ELEVATION_H

namespace test {

/// Gives this process, and the processes that it starts from now on, the rights of an administrator
/// if Wine withholds them: Wine 10 starts programs without, Wine 8 with them. Does nothing on
/// Windows, which grants them with a person's consent only.
void TakeAdministratorRightsOnWine();

}  // namespace test

#endif  // TESTS_SUPPORT_ELEVATION_H
