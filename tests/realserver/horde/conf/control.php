<?php
// SPDX-License-Identifier: LGPL-2.1-or-later
// What a test asks of the groupware while it runs, with its own classes:
//
//   control.php policy none|loose|force [NAME=VALUE]...   what devices are asked to do
//   control.php wipe USER                                 have all devices of a user wiped
require_once '/usr/share/horde/lib/Application.php';
Horde_Registry::appInit('horde', array('authentication' => 'none', 'cli' => true));
array_shift($argv);
$what = array_shift($argv);
if ($what == 'policy') {
    $perms = $injector->getInstance('Horde_Perms');
    $level = array('none' => false, 'loose' => 'allow', 'force' => 'true')[array_shift($argv)];
    $names = array('horde:activesync', 'horde:activesync:provisioning');
    foreach (array_reverse($names) as $name) {
        if ($perms->exists($name)) $perms->removePermission($perms->getPermission($name), true);
    }
    $set = array('horde:activesync' => true, 'horde:activesync:provisioning' => $level);
    foreach ($argv as $pair) {
        list($name, $value) = explode('=', $pair, 2);
        $set['horde:activesync:provisioning:' . $name] = $value;
    }
    $core = $injector->getInstance('Horde_Core_Perms');
    if ($level !== false) {
        if (!$perms->exists('horde')) {
            // Whoever logs in may use Horde, as without the permission.
            $horde = $core->newPermission('horde');
            $horde->addDefaultPermission(Horde_Perms::ALL, false);
            $perms->addPermission($horde);
            $horde->save();
        }
        foreach ($set as $name => $value) {
            $perm = $core->newPermission($name);
            $perm->addDefaultPermission($value, false);
            $perms->addPermission($perm);
            $perm->save();
        }
    }
    $injector->getInstance('Horde_Cache')->clear();
} elseif ($what == 'wipe') {
    $state = $injector->getInstance('Horde_ActiveSyncState');
    $user = array_shift($argv);
    foreach ($state->listDevices($user) as $device) {
        $state->setDeviceRWStatus($device['device_id'], Horde_ActiveSync::RWSTATUS_PENDING);
        echo $device['device_id'], "\n";
    }
}
