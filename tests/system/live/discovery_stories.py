# SPDX-License-Identifier: Apache-2.0
"""What a client finds out about the object manager in the interop namespace, with the schema of an
installation."""

import re

from live import INIT, LiveStory

MANAGER = ('root:CIM_ObjectManager.SystemCreationClassName="CIM_ComputerSystem",'
           'SystemName="localhost",CreationClassName="CIM_ObjectManager",Name="owcimomd"')
PROFILE = 'root:CIM_RegisteredProfile.InstanceID="KOV:DMTF Profile Registration 1.0.0"'
OWN = 'root:CIM_RegisteredProfile.InstanceID="ACME:fans"'
OWN_MOF = """instance of CIM_RegisteredProfile {{ InstanceID = "ACME:fans"; RegisteredName = "{}";
    RegisteredOrganization = 1; RegisteredVersion = "1.0.0"; AdvertiseTypes = {{2}}; }};"""


def quoted(path):
    return '"' + path.replace('"', '\\"') + '"'


class Discovery(LiveStory):
    def setUp(self):
        super().setUp()
        self.need_daemon()

    def properties(self, mof):
        return dict(re.findall(r"^    (\w+) = (.*);$", mof, re.M))

    def compile_own(self, name):
        path = f"{self.root}/own.mof"
        with open(path, "w", encoding="ascii") as file:
            file.write(OWN_MOF.format(name))
        return f"owmofc -n root {path} >/dev/null"

    def test_object_manager_and_its_profile_are_found(self):
        _, managers, profiles, manager, profile = self.steps(
            f"{INIT} start", "owshow -n root --instances CIM_ObjectManager",
            "owshow -n root --instances CIM_RegisteredProfile", f"owshow {quoted(MANAGER)}",
            f"owshow {quoted(PROFILE)}")
        self.assertEqual((managers.output, profiles.output), (MANAGER, PROFILE))
        found = self.properties(manager.output)
        self.assertRegex(found["Description"], r'^"The KOV object manager owcimomd [\d.]+"$')
        self.assertEqual(found["GatherStatisticalData"], "FALSE")
        found = self.properties(profile.output)
        self.assertEqual(
            [found[name] for name in ("RegisteredName", "RegisteredVersion",
                                      "RegisteredOrganization", "AdvertiseTypes")],
            ['"Profile Registration"', '"1.0.0"', "2", "{2}"])

    def test_they_cannot_be_deleted_nor_their_classes(self):
        refused = "cannot be deleted through the object manager"
        self.assert_steps(
            (f"{INIT} start", 0, ".*"),
            (f"owdeleteinstance {quoted(MANAGER)}", 1, f".*not supported: .*{refused}"),
            (f"owdeleteinstance {quoted(PROFILE)}", 1, f".*not supported: .*{refused}"),
            ("owmofc --delete-class root:CIM_ObjectManager", 1,
             ".*class has instances: .*: the object manager is an instance of this class"),
            ("owshow -n root --instances CIM_ObjectManager", 0, re.escape(MANAGER)))

    def test_profile_of_a_product_is_stored_beside_it(self):
        both = "owshow -n root --instances CIM_RegisteredProfile"
        without, _, listed, _, changed, dumped, _, after, _, end = self.steps(
            self.compile_own("Fans") + f"; {both}", f"{INIT} start", both,
            self.compile_own("Fans"), f"owshow {quoted(OWN)} | grep -c Fans",
            "owshow -n root --mof | grep -A1 ^instance | grep -c CIM_RegisteredProfile",
            f"owdeleteinstance {quoted(OWN)}", both, f"{INIT} stop", both)
        self.assertEqual(without.output, OWN)
        self.assertEqual(listed.output.splitlines(), [OWN, PROFILE])
        self.assertEqual((changed.output, dumped.output), ("1", "1"))
        self.assertEqual((after.output, end.output), (PROFILE, ""))
