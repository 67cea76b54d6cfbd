# SPDX-License-Identifier: LGPL-2.1-or-later
"""Provision and Settings (MS-ASPROV, MS-ASCMD 2.2.1.18), and who must be provisioned first."""

import random

from requesttable import version_number
from wbxml import Node

POLICY_TYPE = "MS-EAS-Provisioning-WBXML"
NOT_PROVISIONED, REFRESH, BAD_KEY, WIPE, PARTIAL = "142", "143", "144", "140", "139"


def due(call):
    """The Status that sends a device to Provision, or None."""
    options, device = call.options, call.device
    if call.command in ("Provision", "OPTIONS"):
        return None
    if options.remote_wipe:
        return WIPE
    if not options.provision:
        return None
    key = call.handler.headers.get("X-MS-PolicyKey", call.query.get("PolicyKey", "0"))
    if device.policy_key == "0" or key == "0":
        return NOT_PROVISIONED
    if key != device.policy_key:
        return BAD_KEY
    return REFRESH if device.policy_version != options.policy_version else None


def provision(call):
    information = []
    if call.root.find("Settings:DeviceInformation"):
        _keep_information(call, call.root.find("Settings:DeviceInformation"))
        information = [Node("Settings:DeviceInformation", Node("Settings:Status", "1"))]
    wiped = call.root.find("Provision:RemoteWipe")
    if wiped is not None:
        call.options.remote_wipe = False
        call.device.wiped = wiped.value("Provision:Status")
        return _answer()
    if call.options.remote_wipe:
        return _answer(*information, Node("Provision:RemoteWipe"))
    policy = call.root.find("Provision:Policies/Provision:Policy")
    if policy is None:
        return Node("Provision:Provision", *information, Node("Provision:Status", "2"))
    return _answer(*information, Node("Provision:Policies", _policy(call, policy)))


def _answer(*content):
    return Node("Provision:Provision", Node("Provision:Status", "1"), *content)


def _policy(call, request):
    def answer(code, *more):
        return Node("Provision:Policy", Node("Provision:PolicyType", POLICY_TYPE),
                    Node("Provision:Status", code), *more)
    device, options = call.device, call.options
    if request.value("Provision:PolicyType") != POLICY_TYPE:
        return answer("3")
    if not options.provision:
        return answer("2")
    key, acknowledged = request.value("Provision:PolicyKey"), request.value("Provision:Status")
    if key is None:
        device.policy_pending = _new_key()
        document = Node("Provision:EASProvisionDoc",
                        *[Node(f"Provision:{name}", value) if value else Node(f"Provision:{name}")
                          for name, value in options.policy.items()])
        return answer("1", Node("Provision:PolicyKey", device.policy_pending),
                      Node("Provision:Data", document))
    if key != device.policy_pending:
        return answer("5")
    if acknowledged == "1" or acknowledged == "2" and options.accept_partial:
        device.policy_key, device.policy_pending = _new_key(), None
        device.policy_version = options.policy_version
        return answer("1", Node("Provision:PolicyKey", device.policy_key))
    return answer("4" if acknowledged == "4" else PARTIAL)


def _new_key():
    return str(random.randrange(1, 1 << 32))


def _keep_information(call, node):
    given = node.find("Settings:Set")
    for field in given.nodes() if given else []:
        call.device.information[field.tag.rpartition(":")[2]] = field.data().decode("utf-8", "replace")


def settings(call):
    answer = Node("Settings:Settings", Node("Settings:Status", "1"))
    if call.root.find("Settings:DeviceInformation"):
        _keep_information(call, call.root.find("Settings:DeviceInformation"))
        answer.add(Node("Settings:DeviceInformation", Node("Settings:Status", "1")))
    if call.root.find("Settings:UserInformation"):
        answer.add(_user_information(call))
    if call.root.find("Settings:Oof"):
        answer.add(Node("Settings:Oof", Node("Settings:Status", "1"),
                        Node("Settings:Get", Node("Settings:OofState", "0"))))
    return answer


def _user_information(call):
    addresses = Node("Settings:EmailAddresses", Node("Settings:SmtpAddress", call.user.address))
    if version_number(call.version) >= 141:
        addresses.add(Node("Settings:PrimarySmtpAddress", call.user.address))
        content = Node("Settings:Accounts", Node(
            "Settings:Account", Node("Settings:UserDisplayName", call.user.full_name), addresses))
    else:
        content = addresses
    return Node("Settings:UserInformation", Node("Settings:Status", "1"), Node("Settings:Get", content))
