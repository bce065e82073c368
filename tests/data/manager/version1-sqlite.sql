CREATE TABLE store_version (version INTEGER NOT NULL);
CREATE TABLE jobs (
  number INTEGER PRIMARY KEY AUTOINCREMENT,
  id TEXT NOT NULL UNIQUE,
  name TEXT NOT NULL,
  name_folded TEXT NOT NULL,
  owner TEXT NOT NULL,
  target_machine TEXT NOT NULL,
  target_model TEXT NOT NULL,
  target_material TEXT NOT NULL,
  queue TEXT NOT NULL,
  priority INTEGER NOT NULL,
  copies INTEGER NOT NULL,
  is_draft INTEGER NOT NULL,
  platform_hash TEXT NOT NULL,
  platform_name TEXT NOT NULL,
  platform_size BIGINT NOT NULL,
  picture_hash TEXT,
  picture_name TEXT,
  picture_size BIGINT,
  needs_model TEXT NOT NULL,
  needs_material TEXT NOT NULL,
  needs_nozzle DOUBLE PRECISION,
  needs_width DOUBLE PRECISION,
  needs_depth DOUBLE PRECISION,
  needs_height DOUBLE PRECISION,
  estimated_seconds DOUBLE PRECISION,
  estimated_volume DOUBLE PRECISION,
  estimated_mass DOUBLE PRECISION,
  settings TEXT NOT NULL,
  phase TEXT NOT NULL,
  state INTEGER NOT NULL,
  wait_reason TEXT NOT NULL,
  detail TEXT NOT NULL,
  position DOUBLE PRECISION,
  created BIGINT NOT NULL,
  changed BIGINT NOT NULL,
  phase_since BIGINT NOT NULL,
  version BIGINT NOT NULL,
  machine TEXT NOT NULL,
  machine_name TEXT NOT NULL,
  percent INTEGER NOT NULL,
  stage TEXT NOT NULL,
  attempts INTEGER NOT NULL,
  copies_done INTEGER NOT NULL,
  is_acknowledged INTEGER NOT NULL,
  machine_file_hash TEXT,
  machine_file_name TEXT,
  machine_file_size BIGINT,
  not_before BIGINT,
  claimant TEXT NOT NULL,
  fence BIGINT NOT NULL);
CREATE INDEX jobs_by_state ON jobs (state, number);
CREATE INDEX jobs_by_owner ON jobs (owner, number);
CREATE INDEX jobs_waiting ON jobs (queue, priority DESC, COALESCE(position, number), number) WHERE phase = 'waiting';
CREATE INDEX jobs_claimed ON jobs (claimant) WHERE claimant <> '';
CREATE INDEX jobs_final ON jobs (changed) WHERE state >= 7;
CREATE TABLE history (
  job BIGINT NOT NULL REFERENCES jobs (number) ON DELETE CASCADE,
  version BIGINT NOT NULL,
  time BIGINT NOT NULL,
  actor TEXT NOT NULL,
  event TEXT NOT NULL,
  phase TEXT NOT NULL,
  detail TEXT NOT NULL,
  PRIMARY KEY (job, version));
CREATE TABLE machines (
  id TEXT PRIMARY KEY,
  name TEXT NOT NULL,
  model TEXT NOT NULL,
  is_paused INTEGER NOT NULL,
  pause_reason TEXT NOT NULL,
  loaded_material TEXT NOT NULL,
  loaded_nozzle DOUBLE PRECISION,
  loaded_plate TEXT NOT NULL,
  printer TEXT NOT NULL,
  seen BIGINT NOT NULL);
CREATE TABLE daemons (name TEXT PRIMARY KEY, beats BIGINT NOT NULL);
INSERT INTO store_version (version) VALUES (1);
INSERT INTO jobs (id, name, name_folded, owner, target_machine, target_model, target_material, queue, priority, copies, is_draft, platform_hash, platform_name, platform_size, picture_hash, picture_name, picture_size, needs_model, needs_material, needs_nozzle, needs_width, needs_depth, needs_height, estimated_seconds, estimated_volume, estimated_mass, settings, phase, state, wait_reason, detail, position, created, changed, phase_since, version, machine, machine_name, percent, stage, attempts, copies_done, is_acknowledged, machine_file_hash, machine_file_name, machine_file_size, not_before, claimant, fence) VALUES ('0b0e7d3c-0000-4000-8000-000000000001', 'Deckel', 'deckel', 'ada', '', 'K180', 'PETG', 'model K180', 50, 1, 0, '1111111111111111111111111111111111111111111111111111111111111111', 'Deckel.TavAMX', 1001, NULL, NULL, NULL, 'K180', 'PETG', 0.4, 180.0, 180.0, NULL, 3600.5, NULL, NULL, '{"Material":"PETG"}', 'completed', 9, '', '', NULL, 1700000000001, 1700000000010, 1700000000010, 5, 'b4a5a2f0-6a51-5f0c-9d9e-0d1d0f6a0001', 'Kestrel 180', 0, '', 0, 0, 0, 'dddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddddd', 'Deckel.gcode', 77, NULL, '', 1);
INSERT INTO jobs (id, name, name_folded, owner, target_machine, target_model, target_material, queue, priority, copies, is_draft, platform_hash, platform_name, platform_size, picture_hash, picture_name, picture_size, needs_model, needs_material, needs_nozzle, needs_width, needs_depth, needs_height, estimated_seconds, estimated_volume, estimated_mass, settings, phase, state, wait_reason, detail, position, created, changed, phase_since, version, machine, machine_name, percent, stage, attempts, copies_done, is_acknowledged, machine_file_hash, machine_file_name, machine_file_size, not_before, claimant, fence) VALUES ('0b0e7d3c-0000-4000-8000-000000000002', 'Ring', 'ring', 'ada', '', 'K180', 'PETG', 'model K180', 50, 1, 0, '2222222222222222222222222222222222222222222222222222222222222222', 'Ring.TavAMX', 1002, 'eeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee', 'Ring.png', 12, 'K180', 'PETG', 0.4, 180.0, 180.0, NULL, 3600.5, NULL, NULL, '{"Material":"PETG"}', 'waiting', 3, '', '', 1.5, 1700000000002, 1700000000020, 1700000000020, 1, '', '', 0, '', 0, 0, 0, NULL, NULL, NULL, NULL, '', 0);
INSERT INTO jobs (id, name, name_folded, owner, target_machine, target_model, target_material, queue, priority, copies, is_draft, platform_hash, platform_name, platform_size, picture_hash, picture_name, picture_size, needs_model, needs_material, needs_nozzle, needs_width, needs_depth, needs_height, estimated_seconds, estimated_volume, estimated_mass, settings, phase, state, wait_reason, detail, position, created, changed, phase_since, version, machine, machine_name, percent, stage, attempts, copies_done, is_acknowledged, machine_file_hash, machine_file_name, machine_file_size, not_before, claimant, fence) VALUES ('0b0e7d3c-0000-4000-8000-000000000003', 'Box', 'box', 'ada', 'b4a5a2f0-6a51-5f0c-9d9e-0d1d0f6a0001', 'K180', 'PETG', 'b4a5a2f0-6a51-5f0c-9d9e-0d1d0f6a0001', 50, 1, 0, '3333333333333333333333333333333333333333333333333333333333333333', 'Box.TavAMX', 1003, NULL, NULL, NULL, 'K180', 'PETG', 0.4, 180.0, 180.0, NULL, 3600.5, NULL, NULL, '{"Material":"PETG"}', 'starting', 5, '', '', NULL, 1700000000003, 1700000000030, 1700000000030, 4, 'b4a5a2f0-6a51-5f0c-9d9e-0d1d0f6a0001', 'Kestrel 180', 0, '', 0, 0, 0, 'ffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff', 'Box.gcode', 77, NULL, 'one', 1);
INSERT INTO jobs (id, name, name_folded, owner, target_machine, target_model, target_material, queue, priority, copies, is_draft, platform_hash, platform_name, platform_size, picture_hash, picture_name, picture_size, needs_model, needs_material, needs_nozzle, needs_width, needs_depth, needs_height, estimated_seconds, estimated_volume, estimated_mass, settings, phase, state, wait_reason, detail, position, created, changed, phase_since, version, machine, machine_name, percent, stage, attempts, copies_done, is_acknowledged, machine_file_hash, machine_file_name, machine_file_size, not_before, claimant, fence) VALUES ('0b0e7d3c-0000-4000-8000-000000000004', 'Hook', 'hook', 'ada', '', 'K180', 'PETG', 'model K180', 50, 1, 1, '4444444444444444444444444444444444444444444444444444444444444444', 'Hook.TavAMX', 1004, NULL, NULL, NULL, 'K180', 'PETG', 0.4, 180.0, 180.0, NULL, 3600.5, NULL, NULL, '{"Material":"PETG"}', 'held', 4, '', '', NULL, 1700000000004, 1700000000040, 1700000000040, 1, '', '', 0, '', 0, 0, 0, NULL, NULL, NULL, NULL, '', 0);
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (1, 1, 1700000000000, 'ada', 'submit', 'waiting', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (1, 2, 1700000000001, 'system', 'claim', 'building', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (1, 3, 1700000000002, 'system', 'built', 'sending', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (1, 4, 1700000000003, 'system', 'sent', 'starting', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (1, 5, 1700000000004, 'system', 'printed', 'completed', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (2, 1, 1700000000000, 'ada', 'submit', 'waiting', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (3, 1, 1700000000000, 'ada', 'submit', 'waiting', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (3, 2, 1700000000001, 'system', 'claim', 'building', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (3, 3, 1700000000002, 'system', 'built', 'sending', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (3, 4, 1700000000003, 'system', 'sent', 'starting', '');
INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (4, 1, 1700000000000, 'ada', 'submit', 'held', '');
INSERT INTO machines (id, name, model, is_paused, pause_reason, loaded_material, loaded_nozzle, loaded_plate, printer, seen) VALUES ('b4a5a2f0-6a51-5f0c-9d9e-0d1d0f6a0001', 'Kestrel 180', 'K180', 0, '', 'PETG', 0.4, 'Smooth steel', '', 1700000000000);
INSERT INTO daemons (name, beats) VALUES ('one', 42);
