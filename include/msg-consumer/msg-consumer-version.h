/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_VERSION_H
#define MSG_CONSUMER_VERSION_H

/**
 * @file
 * The version that a program is compiled with, for `#if`. docs/versioning.md tells what each number promises.
 */

/** Raised when something goes or changes its meaning; part of the libraries' names. */
#define MSG_CONSUMER_VERSION_MAJOR 0

/** Raised when something is added. */
#define MSG_CONSUMER_VERSION_MINOR 1

/** Raised when mistakes are mended and nothing else. */
#define MSG_CONSUMER_VERSION_MICRO 0

/** The same as text: "0.1.0". */
#define MSG_CONSUMER_VERSION "0.1.0"

/** Whether the version is the given one or a later one. */
#define MSG_CONSUMER_CHECK_VERSION(major, minor, micro) \
  (MSG_CONSUMER_VERSION_MAJOR > (major) ||              \
   (MSG_CONSUMER_VERSION_MAJOR == (major) &&            \
    (MSG_CONSUMER_VERSION_MINOR > (minor) ||            \
     (MSG_CONSUMER_VERSION_MINOR == (minor) && MSG_CONSUMER_VERSION_MICRO >= (micro)))))

#endif
