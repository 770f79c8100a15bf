-- Version 1.
--
-- Numbers are counts, ids, flags (0 or 1) and the values that the records' headers list. Times are milliseconds since
-- 1970. Ids are never used twice: AUTOINCREMENT, and the table `sequence` for what is packed into rows.

CREATE TABLE thread (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  address_key TEXT NOT NULL,           -- canonical form of the set of participants
  is_group INTEGER NOT NULL DEFAULT 0,
  group_chat_id TEXT NOT NULL DEFAULT '',
  title TEXT NOT NULL DEFAULT '',
  participant_count INTEGER NOT NULL DEFAULT 0,
  -- Counts and last message are kept here with every change, so that a list of threads reads one row per thread.
  message_count INTEGER NOT NULL DEFAULT 0,
  unread_count INTEGER NOT NULL DEFAULT 0,
  draft_count INTEGER NOT NULL DEFAULT 0,
  failed_count INTEGER NOT NULL DEFAULT 0,
  last_message_id INTEGER NOT NULL DEFAULT 0,
  last_type INTEGER NOT NULL DEFAULT 0,
  last_direction INTEGER NOT NULL DEFAULT 0,
  last_sim INTEGER NOT NULL DEFAULT 0,
  last_delivery INTEGER NOT NULL DEFAULT 0,
  last_time_ms INTEGER NOT NULL DEFAULT 0,
  last_text TEXT NOT NULL DEFAULT ''
) STRICT;
CREATE UNIQUE INDEX thread_of_addresses ON thread (address_key) WHERE is_group = 0;
CREATE INDEX thread_by_address_key ON thread (address_key, is_group, id);
CREATE INDEX thread_by_time ON thread (last_time_ms, id);

CREATE TABLE thread_address (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  thread_id INTEGER NOT NULL REFERENCES thread (id) ON DELETE CASCADE,
  kind INTEGER NOT NULL,
  address TEXT NOT NULL,
  is_own INTEGER NOT NULL DEFAULT 0
) STRICT;
CREATE INDEX thread_address_by_thread ON thread_address (thread_id, id);

CREATE TABLE message (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  thread_id INTEGER NOT NULL REFERENCES thread (id) ON DELETE CASCADE,
  type INTEGER NOT NULL,
  delivery INTEGER NOT NULL,
  time_ms INTEGER NOT NULL,
  is_read INTEGER NOT NULL,
  is_locked INTEGER NOT NULL,
  nms_meta_id INTEGER,                 -- the row of nms_meta that is shown with the message
  packed BLOB NOT NULL                 -- everything else, see row-codec.hpp
) STRICT;
CREATE INDEX message_by_thread ON message (thread_id, time_ms, id);
CREATE INDEX message_by_time ON message (time_ms, id);
CREATE INDEX message_by_type ON message (type, time_ms, id);
CREATE INDEX message_unread ON message (thread_id, time_ms, id) WHERE is_read = 0;
CREATE INDEX message_unread_by_time ON message (time_ms, id) WHERE is_read = 0;
CREATE INDEX message_in_flight ON message (delivery, id) WHERE delivery IN (1, 2);

-- What a keyword is looked for in, folded. The index holds every run of three characters.
CREATE TABLE message_text (
  message_id INTEGER PRIMARY KEY REFERENCES message (id) ON DELETE CASCADE,
  folded TEXT NOT NULL
) STRICT;
CREATE VIRTUAL TABLE message_search USING fts5 (
  folded, content = 'message_text', content_rowid = 'message_id', tokenize = 'trigram case_sensitive 1'
);
CREATE TRIGGER message_text_added AFTER INSERT ON message_text BEGIN
  INSERT INTO message_search (rowid, folded) VALUES (new.message_id, new.folded);
END;
CREATE TRIGGER message_text_removed AFTER DELETE ON message_text BEGIN
  INSERT INTO message_search (message_search, rowid, folded) VALUES ('delete', old.message_id, old.folded);
END;
CREATE TRIGGER message_text_changed AFTER UPDATE ON message_text BEGIN
  INSERT INTO message_search (message_search, rowid, folded) VALUES ('delete', old.message_id, old.folded);
  INSERT INTO message_search (rowid, folded) VALUES (new.message_id, new.folded);
END;

-- No foreign key to message: metadata may outlive its message, until the invalid ones are removed.
CREATE TABLE nms_meta (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  message_id INTEGER NOT NULL,
  object_id TEXT NOT NULL,
  correlation_id TEXT NOT NULL,
  folder_path TEXT NOT NULL,
  resource_url TEXT NOT NULL,
  modified_ms INTEGER NOT NULL,
  notified_ms INTEGER NOT NULL,
  sync_state INTEGER NOT NULL,
  download_state INTEGER NOT NULL,
  is_seen INTEGER NOT NULL,
  is_deleted INTEGER NOT NULL,
  is_correlated INTEGER NOT NULL,
  UNIQUE (message_id, object_id)
) STRICT;
CREATE INDEX nms_meta_by_object ON nms_meta (object_id);
CREATE INDEX nms_meta_by_correlation ON nms_meta (correlation_id) WHERE is_correlated = 0;
CREATE INDEX nms_meta_to_sync ON nms_meta (sync_state) WHERE sync_state IN (1, 3);
CREATE INDEX nms_meta_to_download ON nms_meta (download_state) WHERE download_state IN (1, 4) AND is_deleted = 0;

CREATE TABLE nms_subscription (
  id INTEGER PRIMARY KEY CHECK (id = 1),
  noti_index INTEGER NOT NULL,         -- unsigned 64 bits, kept as the signed number with the same bits
  restart_token TEXT NOT NULL
) STRICT;

-- One row per committed change; the service bounds the number of rows. The newest row always stays, so that the next
-- revision is one more.
CREATE TABLE change_log (
  revision INTEGER PRIMARY KEY,
  signal TEXT NOT NULL,
  body TEXT NOT NULL
) STRICT;

-- What this database is told from others by, whose ids are the same numbers.
CREATE TABLE store (
  id TEXT NOT NULL
) STRICT;
INSERT INTO store (id) VALUES (lower(hex(randomblob(16))));

CREATE TABLE sequence (
  name TEXT PRIMARY KEY,
  last INTEGER NOT NULL
) STRICT, WITHOUT ROWID;
INSERT INTO sequence (name, last) VALUES ('content', 0), ('message_address', 0);

-- Requests about the paired device, kept for whoever looks at them.
CREATE TABLE device_request (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  request TEXT NOT NULL,
  argument INTEGER NOT NULL,
  time_ms INTEGER NOT NULL
) STRICT;
