// Result of every boundary function and of most operations. 0 is success,
// and so is TNE_FOLDER_SWITCHED: callers test 501 together with 0.
#pragma once

#include <cstdint>

enum ETarnovelleErrors : uint32_t {
    TNE_OK = 0,
    TNE_FAILED = 6,                    // an exception reached a frame, no channel, a failed post
    TNE_OUT_OF_MEMORY = 257,           // no memory for a block entry of the samples file
    TNE_EXCEPTION = 262,               // a CTarnovelleException reached a frame that catches it by type
    TNE_FILE_TRUNCATED = 263,          // samples file ends inside the bytes behind a block header
    TNE_FILE_NOT_PARSED = 264,         // project file or ConfData.Inf unreadable; samples file too new
    TNE_FILE_NOT_WRITTEN = 265,        // ConfData.Inf not writable, measuring-point directory not made
    TNE_FILE_NOT_OPENED = 266,         // project file or ConfData.Inf could not be opened
    TNE_FILE_GONE = 273,               // ConfData.Inf, a samples file or the root folder is gone
    TNE_NO_OBJECT = 278,               // a needed object is missing (null handle, unknown GUID, ...)
    TNE_ARCHIVE_FULL = 500,            // active folder full and no further folder usable
    TNE_FOLDER_SWITCHED = 501,         // a switch to another folder took place: a success
    TNE_NO_ACTIVE_FOLDER = 502,        // the archive has no active folder
    TNE_ARCHIVE_LOCK_FAILED = 503,     // the write lock or a read lock could not be taken
    TNE_ARCHIVE_NOT_LOCKED = 504,      // the write lock was not held
    TNE_THREAD_RUNNING = 506,          // the working thread is already running
    TNE_THREAD_NOT_RUNNING = 507,      // the working thread is not running
    TNE_CONFIGURATION_INVALID = 600,   // the configuration check failed
};

static_assert(sizeof(ETarnovelleErrors) == 4, "results are 32 bits wide");
