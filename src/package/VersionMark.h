#pragma once

/// What stands in a launcher's program before its version, and behind it. The publisher looks for
/// it there: a launcher that is offered under another version than it has, or one of version "dev",
/// which never replaces itself again, must not reach players.
#define VORNAK_VERSION_MARK "\nVornak launcher, version "
#define VORNAK_VERSION_MARK_END "\n"
