<?php
// SPDX-License-Identifier: LGPL-2.1-or-later
// Its mail program, which keeps the mailboxes.
$conf['user']['allow_view_source'] = true;
$conf['server']['server_list'] = 'none';
$conf['compose'] = array('use_vfs' => false, 'link_attachments' => false,
    'attach_size_limit' => 0, 'attach_count_limit' => 0, 'reply_limit' => 200000,
    'ac_threshold' => 3, 'htmlsig_img_size' => 30000);
$conf['pgp']['keylength'] = 0;
$conf['maillog']['driver'] = 'history';
$conf['sentmail']['driver'] = 'Null';
$conf['contactsimage']['backends'] = array();
