<?php
// SPDX-License-Identifier: LGPL-2.1-or-later
// The groupware's own configuration, for one test: paths are those inside of its root.
$conf['vhosts'] = false;
$conf['debug_level'] = E_ALL & ~E_NOTICE & ~E_DEPRECATED & ~E_STRICT & ~E_WARNING;
$conf['max_exec_time'] = 0;
$conf['compress_pages'] = false;
$conf['secret_key'] = '3a0a1c8e-8f4e-4a3e-9d55-000000000001';
$conf['umask'] = 077;
$conf['testdisable'] = true;
$conf['use_ssl'] = 2;
$conf['server']['name'] = $_SERVER['SERVER_NAME'] ?? 'localhost';
$conf['urls']['token_lifetime'] = 30;
$conf['urls']['hmac_lifetime'] = 30;
$conf['urls']['pretty'] = false;
$conf['safe_ips'] = array();
$conf['session']['name'] = 'Horde';
$conf['session']['use_only_cookies'] = true;
$conf['session']['timeout'] = 0;
$conf['session']['cache_limiter'] = 'nocache';
$conf['session']['max_time'] = 72000;
$conf['cookie']['domain'] = '';
$conf['cookie']['path'] = '/';
$conf['sql'] = array('phptype' => 'mysqli', 'username' => 'horde', 'password' => 'none',
    'protocol' => 'unix', 'socket' => '/run/mysqld/mysqld.sock', 'database' => 'horde',
    'charset' => 'utf-8', 'ssl' => false, 'splitread' => false, 'logqueries' => false);
$conf['nosql']['phptype'] = false;
$conf['ldap']['useldap'] = false;
$conf['auth']['admins'] = array('admin');
$conf['auth']['checkip'] = false;
$conf['auth']['checkbrowser'] = false;
$conf['auth']['resetpassword'] = false;
$conf['auth']['alternate_login'] = false;
$conf['auth']['redirect_on_logout'] = false;
$conf['auth']['list_users'] = 'input';
$conf['auth']['params']['app'] = 'imp';
$conf['auth']['driver'] = 'application';
$conf['auth']['params']['count_bad_logins'] = false;
$conf['auth']['params']['login_block'] = false;
$conf['allow_admin'] = false;
$conf['signup']['allow'] = false;
$conf['log'] = array('priority' => 'DEBUG', 'ident' => 'HORDE', 'name' => '/srv/log/horde',
    'type' => 'file', 'enabled' => true, 'params' => array('append' => true, 'format' => 'default'));
$conf['log_accesskeys'] = false;
$conf['prefs']['maxsize'] = 65535;
foreach (array('prefs' => 'Sql', 'alarms' => 'Sql', 'perms' => 'Sql', 'group' => 'Sql',
    'share' => 'Sqlng', 'lock' => 'Sql', 'token' => 'Sql', 'history' => 'Sql',
    'davstorage' => 'Sql') as $what => $driver) {
    $conf[$what]['driver'] = $driver;
    $conf[$what]['params']['driverconfig'] = 'horde';
}
// There are no tables yet while they are made.
if (getenv('HORDE_MIGRATE')) $conf['perms']['driver'] = $conf['prefs']['driver'] = 'Null';
$conf['datatree']['driver'] = 'null';
$conf['cache']['default_lifetime'] = 86400;
$conf['cache']['driver'] = 'File';
$conf['cache']['params'] = array('sub' => 0, 'dir' => '/srv/cache');
$conf['cache']['use_memorycache'] = '';
$conf['cachejs'] = false;
$conf['cachecss'] = false;
$conf['mailer']['type'] = 'sendmail';
$conf['mailer']['params'] = array('sendmail_path' => '/run/sendmail', 'sendmail_args' => '-i');
$conf['vfs']['type'] = 'File';
$conf['vfs']['params']['vfsroot'] = '/srv/vfs';
$conf['sessionhandler']['type'] = 'Builtin';
$conf['sessionhandler']['hashtable'] = false;
$conf['hashtable']['driver'] = 'none';
$conf['image']['driver'] = false;
$conf['exif']['driver'] = 'Bundled';
$conf['timezone']['location'] = '';
$conf['tmpdir'] = '/tmp';
$conf['user'] = array('verify_from_addr' => false, 'select_view' => false);
$conf['facebook']['enabled'] = $conf['twitter']['enabled'] = $conf['urlshortener'] = false;
$conf['weather']['provider'] = false;
$conf['imap']['enabled'] = $conf['imsp']['enabled'] = $conf['kolab']['enabled'] = false;
$conf['spell']['driver'] = '';
$conf['portal']['fixed_blocks'] = array();
$conf['accounts']['driver'] = 'null';
$conf['problems']['enabled'] = false;
$conf['activesync'] = array('enabled' => true, 'emailsync' => true, 'storage' => 'Sql',
    'params' => array('driverconfig' => 'horde'), 'version' => '14.1',
    'auth' => array('type' => 'basic'), 'autodiscovery' => 'user', 'outlookdiscovery' => false,
    'logging' => array('type' => 'perdevice', 'path' => '/srv/log/eas', 'level' => 1),
    'ping' => array('deviceping' => true, 'heartbeatmin' => 10, 'heartbeatmax' => 900,
        'heartbeatdefault' => 480, 'waitinterval' => 3));
