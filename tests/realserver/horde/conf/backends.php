<?php
// SPDX-License-Identifier: LGPL-2.1-or-later
$servers['imap'] = array('disabled' => false, 'name' => 'IMAP', 'hostspec' => '127.0.0.1',
    'hordeauth' => true, 'protocol' => 'imap', 'port' => @IMAP@, 'secure' => false,
    'maildomain' => 'example.test', 'cache' => false);
