// SPDX-License-Identifier: Apache-2.0
//
// The exit statuses of fennik, which install scripts rely on: each failure's error code is one of
// them. The manual and the man page use the same words; a test compares them with the comments
// below.
//
// The exception: a failed getrlimit or setrlimit has errno as its code.
#pragma once

namespace KOVNS2::ErrorCode {

enum Value : int {
    /// done
    DONE = 0,
    /// a bad command line (the options are printed too), or a failure of the repository or the
    /// system; or everything was done, but the daemon could not be started again
    FAILURE = 1,
    /// the product is registered already
    ALREADY_REGISTERED = 2,
    /// the product is not registered
    NOT_REGISTERED = 3,
    /// a registration MOF has a #pragma namespace
    NAMESPACE_IN_REGISTRATION_MOF = 4,
    /// a namespace that is to be registered does not begin with the product's name
    FOREIGN_NAMESPACE_TO_REGISTER = 6,
    /// a namespace that is to be deregistered does not begin with the product's name
    FOREIGN_NAMESPACE_TO_DEREGISTER = 7,
    /// not run as root
    NOT_ROOT = 8,
    /// the lock file could not be opened; has kov-setup been run?
    LOCK_FILE_NOT_OPENED = 9,
    /// the lock could not be taken
    LOCK_NOT_TAKEN = 10,
    /// the allowed users file could not be created, or a name of the product or of a user cannot be
    /// used
    ALLOWED_USERS_NOT_CREATED = 12,
    /// the allowed users file could not be written
    ALLOWED_USERS_NOT_WRITTEN = 13,
    /// an entry of a provider list, or a file that it names, breaks a rule; or the providers could
    /// not be changed; or a state file holds no state
    INVALID_INPUT = 14,
    /// the configuration file that was named does not exist
    CONFIG_SOURCE_MISSING = 15,
    /// the product's configuration could not be written, or the product's name cannot be the name
    /// of a file
    CONFIG_NOT_WRITTEN = 16,
    /// the product's configuration could not be removed
    CONFIG_NOT_REMOVED = 17,
    /// the daemon's init script did not end by itself, or could not restart the daemon
    INIT_SCRIPT_FAILED = 21,
    /// the daemon could not be started
    DAEMON_NOT_STARTED = 22,
    /// the daemon could not be stopped
    DAEMON_NOT_STOPPED = 23,
    /// the provider list does not exist
    PROVIDER_LIST_MISSING = 24,
    /// the allowed users file could not be removed
    ALLOWED_USERS_NOT_REMOVED = 25,
    /// the repository could not be copied
    REPOSITORY_NOT_COPIED = 26,
    /// the copy of the repository could not take the repository's place
    REPOSITORY_NOT_EXCHANGED = 27,
    /// the backup of the repository could not be removed
    BACKUP_NOT_REMOVED = 28,
    /// the product kov cannot be deregistered
    INFRASTRUCTURE_NOT_DEREGISTERED = 29,
    /// a mistake in a provider's MOF
    MOF_COMPILER_ERROR = 33,
    /// the state file could not be created or written
    STATE_FILE_NOT_WRITTEN = 36,
    /// the state file could not be opened
    STATE_FILE_NOT_OPENED = 37,
    /// whether the product is registered could not be found out
    REGISTRATION_UNKNOWN = 127,
    /// the state could not be gathered or restored
    STATE_FAILED = -1  // as an exit status: 255
};

}  // namespace KOVNS2::ErrorCode
