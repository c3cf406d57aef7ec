# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
# What the sample product is: an agent that keeps an inventory of its machine and tells what happens
# to it. Sourced by its install and uninstall scripts and by the demonstration.
# shellcheck disable=SC2034 # used by whoever sources this

product=sample

# Where its own files go: the programs that its providers name, and what registers them. The
# provider list names them there.
home=/opt/sample

# Who may connect to the object manager for this product. The accounts are made by the package.
users=(sampleadm samplemon)

# What they may do in the product's namespaces. Every namespace begins with the product's name.
read_write_users=(sampleadm)
read_only_users=(samplemon)
namespaces=(sample/inventory sample/events)
