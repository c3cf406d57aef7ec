# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
# Describes the sample product: an agent that keeps an inventory of its machine and reports events.
# Sourced by its install and uninstall scripts and by the demonstration.
# shellcheck disable=SC2034 # used by whoever sources this

product=sample

# The directory of its files: the providers' programs, and the files that register them. The
# provider list contains paths below it.
home=/opt/sample

# The users who may connect to the object manager for this product. The package creates the
# accounts.
users=(sampleadm samplemon)

# Their rights in the product's namespaces. Every namespace begins with the product's name.
read_write_users=(sampleadm)
read_only_users=(samplemon)
namespaces=(sample/inventory sample/events)
