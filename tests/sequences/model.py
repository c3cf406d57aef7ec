# SPDX-License-Identifier: Apache-2.0
"""What the tool should do, told simply: the products, what each has, and the status with which each
operation ends."""

import copy
import re
import xml.etree.ElementTree as xml

READ_WRITE, READ_ONLY = "rwRW", "rR"


class Model:
    """The registered products by name. A product has users, a snippet or None, namespaces with the
    rights of their users, and the set of its providers."""

    def __init__(self):
        self.products = {}

    def copy(self):
        return copy.deepcopy(self)

    def apply(self, operation, product, **options):
        """Carries out the operation if it must succeed. Returns the status."""
        return getattr(self, operation.replace("-", "_"))(product, **options)

    def register(self, product, users):
        if product in self.products:
            return 2
        self.products[product] = {"users": users, "snippet": None, "namespaces": {},
                                  "providers": set()}
        return 0

    def set_owcimomd_config(self, product, snippet):
        # It works without a product, too; the sequences do not do that.
        self.products[product]["snippet"] = snippet
        return 0

    def remove_owcimomd_config(self, product):
        self.products[product]["snippet"] = None
        return 0

    def register_namespace(self, product, namespaces, users, readers):
        if any(not name.startswith(product) for name in namespaces):
            return 6
        if product not in self.products:
            return 3
        named = [user for user in users + readers if user != "root"]
        taken = {name for other in self.products.values() for name in other["namespaces"]}
        if (len(set(named)) < len(named) or len(set(namespaces)) < len(namespaces)
                or taken & set(namespaces)):
            return 1
        rights = {user: READ_ONLY for user in readers} | {user: READ_WRITE for user in users}
        rights["root"] = READ_WRITE
        for name in namespaces:
            self.products[product]["namespaces"][name] = dict(rights)
        return 0

    def deregister_namespace(self, product, namespaces):
        if any(not name.startswith(product) for name in namespaces):
            return 7
        if product not in self.products:
            return 3
        own = self.products[product]["namespaces"]
        if len(set(namespaces)) < len(namespaces) or any(name not in own for name in namespaces):
            return 1
        for name in namespaces:
            del own[name]
        return 0

    def register_providers(self, product, providers):
        if product not in self.products:
            return 0 if not providers else 14
        if providers and product + "/main" not in self.products[product]["namespaces"]:
            return 14
        if len(set(providers)) < len(providers):
            return 14
        self.products[product]["providers"] = set(providers)
        return 0

    def deregister(self, product):
        if product not in self.products:
            return 3
        del self.products[product]
        return 0

    def saved(self):
        """What a saved state of these products holds."""
        return {name: {"users": has["users"], "snippet": has["snippet"] or "",
                       "namespaces": has["namespaces"],
                       "providers": {f"{name}:{provider}" for provider in has["providers"]}}
                for name, has in self.products.items()}


def read_saved(path):
    """The same from a state file of the tool."""
    found = {}
    for product in xml.parse(path).getroot().iter("Product"):
        mof = "".join("".join(instances.itertext())
                      for instances in product.iter("RegistrationInstances"))
        found[product.findtext("Name")] = {
            "users": [user.text for user in product.find("AllowedUsers").iter("UserName")],
            "snippet": product.findtext("ConfigFile") or "",
            "namespaces": {
                namespace.findtext("Name"): {
                    entry.findtext("UserName"): entry.findtext("Capability")
                    for entry in namespace.iter("NamespaceACLEntry")}
                for namespace in product.iter("Namespace")},
            "providers": set(re.findall(r'InstanceID = "([^"]*)"', mof)),
        }
    return found
