# SPDX-License-Identifier: Apache-2.0
kov_unit_test(model_test
  SOURCES
    unit/model/cim_class_test.cpp unit/model/cim_datetime_test.cpp
    unit/model/cim_namespace_utils_test.cpp unit/model/cim_object_path_sync_test.cpp
    unit/model/cim_object_path_test.cpp unit/model/cim_value_test.cpp
    unit/model/class_derivation_test.cpp unit/model/instance_completion_test.cpp
  LINKS openwbem_model)
