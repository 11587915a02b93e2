-- The users database behind the ODBC directory of the tests (see
-- OdbcUsers in tests/support/DirectoryFixtures.h): the same people and groups
-- as the LDAP test directory, entries keyed "users/NAME" and "groups/NAME".
CREATE TABLE users (name TEXT PRIMARY KEY, display TEXT, password TEXT, disabled INTEGER);
CREATE TABLE groups (name TEXT PRIMARY KEY, display TEXT);
CREATE TABLE members (group_name TEXT, user_name TEXT);
CREATE VIEW entries (key, kind, name, display) AS
  SELECT 'users/' || name, 1, name, display FROM users UNION ALL
  SELECT 'groups/' || name, 2, name, display FROM groups;
INSERT INTO users VALUES ('alice', 'Alice Liddell', 'alice-pw', NULL),
  ('bob', 'Bob Cratchit', 'bob-pw', NULL), ('carol', 'Carol Danvers', 'carol-pw', NULL);
INSERT INTO groups VALUES ('staff', 'Staff'), ('operators', 'Operators');
INSERT INTO members VALUES ('staff', 'alice'), ('staff', 'bob'), ('operators', 'carol');
