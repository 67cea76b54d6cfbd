<?php
// SPDX-License-Identifier: LGPL-2.1-or-later
// All folders show. Deleting means "to the trash" for everybody, as it does with other servers.
$_prefs['use_trash']['value'] = 1;
$_prefs['subscribe']['value'] = 0;
