/* SPDX-License-Identifier: MIT */
/**
 * @file qn_version.h
 * @brief The version of the interface that these headers describe.
 *
 * This is the only place where the version stands; the build reads it here.
 *
 * The rule for the binary interface: the major number changes when a program
 * that was linked against an older library may no longer work (a name is gone,
 * a structure's layout or a promised result changed). The minor number changes
 * when something was added, the patch number when something was mended. The
 * shared libraries' SONAMEs and version nodes carry the major number alone.
 */
#ifndef QNSTACK_QN_VERSION_H
#define QNSTACK_QN_VERSION_H

/**
 * @addtogroup interface
 * @{
 */

/** Major version; also the number in the SONAME. */
#define QNSTACK_VERSION_MAJOR 1
/** Minor version; grows when the interface grows. */
#define QNSTACK_VERSION_MINOR 0
/** Patch version; grows when behaviour is mended. */
#define QNSTACK_VERSION_PATCH 0

/** @} */

#endif
