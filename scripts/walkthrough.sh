#!/usr/bin/env bash
# The README's walkthrough as one script: run it in an empty directory with
# xopolicy on PATH and XO_POLICY_STORE, XO_ADMIN and XO_PASSWORD set; it prints
# every command before running it.
set -euo pipefail
set -x

# A new store, and a small policy made with commands.
xopolicy init --admin "$XO_ADMIN" --password "$XO_PASSWORD"
xopolicy agent add web-gateway --agent-type "HTTP Agent" --description "the intranet's web gateway"
xopolicy scheme add staff-password --description "staff log in with a password"
xopolicy domain add Intranet --description "the company intranet"
xopolicy realm add portal --domain Intranet --agent web-gateway --scheme staff-password --text / --description "every page"
xopolicy rule add read-pages --domain Intranet --realm portal --text1 GET --text2 /

# The people: a user directory read through ODBC from a local SQLite database.
sqlite3 users.db "
  CREATE TABLE people (login TEXT PRIMARY KEY, full_name TEXT, password TEXT);
  CREATE TABLE teams (team TEXT PRIMARY KEY, title TEXT);
  INSERT INTO people VALUES ('alice', 'Alice Liddell', 'rabbit-hole'), ('bob', 'Bob Cratchit', 'ledger');
  INSERT INTO teams VALUES ('staff', 'All staff');
  CREATE VIEW entries (key, kind, display) AS
    SELECT 'people/' || login, 1, full_name FROM people UNION ALL
    SELECT 'teams/' || team, 2, title FROM teams;"
xopolicy odbcquery add people-queries --description "how to read users.db" \
  --enumerate "SELECT key, kind, display FROM entries ORDER BY key" \
  --lookup-entry "SELECT key, display FROM entries WHERE key = ?" \
  --entry-kind "SELECT kind FROM entries WHERE key = ?" \
  --authenticate "SELECT count(*) FROM people WHERE 'people/' || login = ? AND password = ?" \
  --lookup-user "SELECT 'people/' || login, full_name FROM people WHERE login = ?"
xopolicy userdir add staff-directory --type ODBC: --server "Driver=SQLite3;Database=$PWD/users.db" --query-scheme people-queries
xopolicy user list --userdir staff-directory
xopolicy domain add-userdir Intranet staff-directory
xopolicy policy add employees --domain Intranet --description "everyone on the staff"
xopolicy policy add-user employees --domain Intranet --userdir staff-directory --entry teams/staff --resolution group
xopolicy policy users employees --domain Intranet --userdir staff-directory

# The policy as a file.
xopolicy export --output intranet.json

# Edit the file: a new description for the realm, and a second rule.
sed -i 's/"description": "every page"/"description": "every page of the portal"/' intranet.json
sed -i 's/"rules": \[/"rules": [\n        {"realm": "portal", "name": "read-forms", "texts": ["GET", "\/forms", ""]},/' intranet.json

# See what would change, then change it; a second apply has nothing to do.
xopolicy apply intranet.json --dry-run
xopolicy apply intranet.json
xopolicy apply intranet.json

# Who changed what, and when.
xopolicy audit --by "$XO_ADMIN"
