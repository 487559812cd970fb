-- version 1
--
-- Functions and views of the schema "scan", for people and dashboards: see docs/database.md. A database whose
-- version is lower gets them anew, so raise the number with each change; columns may only be added at a view's end.

-- The tables of the month in which a run began, in UTC. Loaders call it, who may not make tables themselves. It does
-- what it does with its owner's rights: pg_temp has to stand at the end of its path, since it would be looked at first
-- otherwise, and whoever calls it could have a view of their own there in the place of pg_class.
CREATE OR REPLACE FUNCTION scan.make_month(moment bigint) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp SET client_min_messages = warning AS $$
DECLARE
  month timestamp := date_trunc('month', to_timestamp(moment) AT TIME ZONE 'UTC');
  divided name;
BEGIN
  PERFORM pg_advisory_xact_lock(1935892846);
  FOR divided IN
    SELECT relname FROM pg_class WHERE relnamespace = 'scan'::regnamespace AND relkind = 'p' ORDER BY relname
  LOOP
    EXECUTE format('CREATE TABLE IF NOT EXISTS scan.%I PARTITION OF scan.%I FOR VALUES FROM (%s) TO (%s)',
                   divided || to_char(month, '_YYYY_MM'), divided, extract(epoch FROM month)::bigint,
                   extract(epoch FROM month + interval '1 month')::bigint);
  END LOOP;
END $$;
REVOKE EXECUTE ON FUNCTION scan.make_month FROM PUBLIC;

-- Lets a role load results, and see no more of those that are there than whether it has loaded one: the names of
-- everybody's files are in them. To be called again when an upgrade has brought new tables.
CREATE OR REPLACE FUNCTION scan.let_load(loader name) RETURNS void
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp AS $$
DECLARE
  divided name;
BEGIN
  EXECUTE format('GRANT USAGE ON SCHEMA scan TO %I', loader);
  EXECUTE format('GRANT SELECT ON scan.version TO %I', loader);
  EXECUTE format('GRANT INSERT, SELECT (run_id, host, checksum) ON scan.run TO %I', loader);
  EXECUTE format('GRANT EXECUTE ON FUNCTION scan.make_month TO %I', loader);
  FOR divided IN SELECT relname FROM pg_class WHERE relnamespace = 'scan'::regnamespace AND relkind = 'p'
  LOOP
    EXECUTE format('GRANT INSERT ON scan.%I TO %I', divided, loader);
  END LOOP;
END $$;

-- Takes away all months that end before a time, by dropping their tables; returns how many runs those were.
CREATE OR REPLACE FUNCTION scan.forget(before timestamptz) RETURNS bigint
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp AS $$
DECLARE
  month timestamp := date_trunc('month', before AT TIME ZONE 'UTC');
  old name;
  runs bigint;
BEGIN
  PERFORM pg_advisory_xact_lock(1935892846);
  FOR old IN
    SELECT part.relname FROM pg_class AS part JOIN pg_inherits ON inhrelid = part.oid
    WHERE part.relnamespace = 'scan'::regnamespace AND part.relkind = 'r'
      AND right(part.relname, 8) < to_char(month, '_YYYY_MM')
  LOOP
    EXECUTE format('DROP TABLE scan.%I', old);
  END LOOP;
  DELETE FROM scan.run WHERE run_time < extract(epoch FROM month)::bigint;
  GET DIAGNOSTICS runs = ROW_COUNT;
  RETURN runs;
END $$;

-- The last run of each job. It goes through the index from job to job: a few thousand looks, where reading all runs
-- would be a million.
CREATE OR REPLACE VIEW scan.newest_run AS
WITH RECURSIVE one AS (
  (SELECT host, job, schedule FROM scan.run ORDER BY host, job, schedule LIMIT 1)
  UNION ALL
  SELECT following.* FROM one CROSS JOIN LATERAL (
    SELECT host, job, schedule FROM scan.run AS r
    WHERE (r.host, r.job, r.schedule) > (one.host, one.job, one.schedule)
    ORDER BY host, job, schedule LIMIT 1) AS following)
SELECT newest.* FROM one CROSS JOIN LATERAL (
  SELECT run_id, run_time, host, job, schedule, run_number FROM scan.run AS r
  WHERE r.host = one.host AND r.job = one.job AND r.schedule = one.schedule
  ORDER BY run_time DESC, run_number DESC LIMIT 1) AS newest;

-- The last run of each job, with the run before it and those a week, a month, a quarter and a year before.
CREATE OR REPLACE VIEW scan.run_pair AS
SELECT newest.host, newest.job, newest.schedule, since.name AS since, newest.run_id, newest.run_time,
  older.run_id AS older_id, older.run_time AS older_time
FROM scan.newest_run AS newest
CROSS JOIN (VALUES ('run', 0), ('week', 7), ('month', 30), ('quarter', 90), ('year', 365)) AS since (name, days)
CROSS JOIN LATERAL (
  SELECT run_id, run_time FROM scan.run AS r
  WHERE r.host = newest.host AND r.job = newest.job AND r.schedule = newest.schedule
    AND r.run_time <= newest.run_time - since.days * 86400 AND r.run_id <> newest.run_id
  ORDER BY r.run_time DESC, r.run_number DESC LIMIT 1) AS older;

-- What each file system had, run by run.
CREATE OR REPLACE VIEW scan.filesystem_history AS
SELECT host, job, to_timestamp(run_time) AS at, run_time, mount_point, kind, capacity_bytes, used_bytes, free_bytes,
  round(100.0 * used_bytes / nullif(capacity_bytes, 0), 1) AS percent
FROM scan.run JOIN scan.filesystem USING (run_id, run_time)
WHERE scanned = 1;

-- The statistics of file systems, run by run.
CREATE OR REPLACE VIEW scan.statistic_history AS
SELECT host, job, to_timestamp(run_time) AS at, run_id, run_time, mount_point, statistic_name, statistic_number
FROM scan.run JOIN scan.filesystem USING (run_id, run_time)
JOIN scan.statistic USING (run_id, run_time, filesystem_number)
WHERE directory IS NULL;

-- What each owner had, run by run.
CREATE OR REPLACE VIEW scan.owner_history AS
SELECT host, job, at, run_time, mount_point, statistic_name, owner_id, owner_name, gone, files, bytes
FROM scan.statistic_history JOIN scan.owner USING (run_id, run_time, statistic_number);

-- What each group had, run by run.
CREATE OR REPLACE VIEW scan.group_history AS
SELECT host, job, at, run_time, mount_point, statistic_name, group_id, group_name, gone, files, bytes
FROM scan.statistic_history JOIN scan.owning_group USING (run_id, run_time, statistic_number);

-- What file systems have grown by.
CREATE OR REPLACE VIEW scan.filesystem_growth AS
SELECT host, job, since, to_timestamp(older_time) AS older_at, to_timestamp(pair.run_time) AS at, now.mount_point,
  old.used_bytes AS older_bytes, now.used_bytes AS bytes, now.used_bytes - old.used_bytes AS growth
FROM scan.run_pair AS pair
JOIN scan.filesystem AS now ON now.run_id = pair.run_id AND now.run_time = pair.run_time
JOIN scan.filesystem AS old
  ON old.run_id = older_id AND old.run_time = older_time AND old.mount_point = now.mount_point
WHERE now.scanned = 1 AND old.scanned = 1;

-- What hosts have grown by, all file systems of a job together.
CREATE OR REPLACE VIEW scan.host_growth AS
SELECT host, job, since, min(older_at) AS older_at, max(at) AS at, sum(older_bytes) AS older_bytes, sum(bytes) AS bytes,
  sum(growth) AS growth
FROM scan.filesystem_growth
GROUP BY host, job, since;

-- The statistics of both runs of each pair, sign 1 of the newer and -1 of the older one. What only one of the runs has, a
-- file system or a statistic, tells nothing of growth.
CREATE OR REPLACE VIEW scan.statistic_pair AS
SELECT host, job, schedule, since, mount_point, statistic_name, side.run_id, side.run_time, statistic_number, sign
FROM scan.run_pair AS pair
CROSS JOIN LATERAL (VALUES (pair.run_id, pair.run_time, older_id, older_time, 1),
  (older_id, older_time, pair.run_id, pair.run_time, -1)) AS side (run_id, run_time, other_id, other_time, sign)
JOIN scan.filesystem ON filesystem.run_id = side.run_id AND filesystem.run_time = side.run_time
JOIN scan.statistic ON statistic.run_id = side.run_id AND statistic.run_time = side.run_time
  AND statistic.filesystem_number = filesystem.filesystem_number
WHERE directory IS NULL AND scanned = 1 AND EXISTS (
  SELECT FROM scan.filesystem AS f JOIN scan.statistic AS s USING (run_id, run_time, filesystem_number)
  WHERE f.run_id = other_id AND f.run_time = other_time AND f.mount_point = filesystem.mount_point AND f.scanned = 1
    AND s.statistic_name = statistic.statistic_name AND s.directory IS NULL);

-- What owners have grown by; one who has nothing in one of the two runs has grown from nothing or to nothing.
CREATE OR REPLACE VIEW scan.owner_growth AS
SELECT host, job, since, mount_point, statistic_name, owner_id, max(owner_name) AS owner_name,
  coalesce(sum(bytes) FILTER (WHERE sign < 0), 0) AS older_bytes,
  coalesce(sum(bytes) FILTER (WHERE sign > 0), 0) AS bytes, sum(sign * bytes) AS growth
FROM scan.statistic_pair JOIN scan.owner USING (run_id, run_time, statistic_number)
GROUP BY host, job, schedule, since, mount_point, statistic_name, owner_id;

-- What groups have grown by.
CREATE OR REPLACE VIEW scan.group_growth AS
SELECT host, job, since, mount_point, statistic_name, group_id, max(group_name) AS group_name,
  coalesce(sum(bytes) FILTER (WHERE sign < 0), 0) AS older_bytes,
  coalesce(sum(bytes) FILTER (WHERE sign > 0), 0) AS bytes, sum(sign * bytes) AS growth
FROM scan.statistic_pair JOIN scan.owning_group USING (run_id, run_time, statistic_number)
GROUP BY host, job, schedule, since, mount_point, statistic_name, group_id;

-- The fullest file systems, and when a straight line through the last 90 days says that they will be full. The error
-- is the standard error of the line's slope; earliest and latest are what two of it make of the day, and no latest
-- means that it may never be. Nothing that lies more than a hundred years ahead is told.
CREATE OR REPLACE VIEW scan.filesystem_forecast AS
WITH line AS (
  SELECT host, mount_point, count(*) AS points, max(scan_time) AS seconds,
    (array_agg(used_bytes ORDER BY scan_time DESC))[1] AS used_bytes,
    (array_agg(capacity_bytes ORDER BY scan_time DESC))[1] AS capacity_bytes,
    regr_slope(used_bytes, scan_time / 86400.0) AS slope, regr_sxx(used_bytes, scan_time / 86400.0) AS sxx,
    regr_sxy(used_bytes, scan_time / 86400.0) AS sxy, regr_syy(used_bytes, scan_time / 86400.0) AS syy
  FROM scan.run JOIN scan.filesystem USING (run_id, run_time)
  WHERE scanned = 1 AND capacity_bytes > 0 AND run_time > extract(epoch FROM now())::bigint - 90 * 86400
  GROUP BY host, mount_point),
errors AS (
  SELECT *, CASE WHEN points > 2 AND sxx > 0 THEN sqrt(greatest(syy - slope * sxy, 0) / (points - 2) / sxx) END AS error
  FROM line),
days AS (
  SELECT *, CASE WHEN slope > 0 THEN (capacity_bytes - used_bytes) / slope END AS expected,
    CASE WHEN slope + 2 * error > 0 THEN (capacity_bytes - used_bytes) / (slope + 2 * error) END AS earliest,
    CASE WHEN slope - 2 * error > 0 THEN (capacity_bytes - used_bytes) / (slope - 2 * error) END AS latest
  FROM errors)
SELECT host, mount_point, to_timestamp(seconds) AS at, points, capacity_bytes, used_bytes,
  round(100.0 * used_bytes / capacity_bytes, 1) AS percent,
  round(slope) AS bytes_a_day, round(error) AS error_a_day,
  CASE WHEN expected < 36525 THEN (to_timestamp(seconds) + expected * interval '1 day')::date END AS full_on,
  CASE WHEN earliest < 36525 THEN (to_timestamp(seconds) + earliest * interval '1 day')::date END AS earliest,
  CASE WHEN latest < 36525 THEN (to_timestamp(seconds) + latest * interval '1 day')::date END AS latest
FROM days;

-- What lies on file systems without an owner, by the number that is left of that; what several statistics count is
-- counted once.
CREATE OR REPLACE VIEW scan.orphan AS
SELECT host, mount_point, owner_id, max(owner.files) AS files, max(owner.bytes) AS bytes
FROM scan.newest_run JOIN scan.filesystem USING (run_id, run_time)
JOIN scan.statistic USING (run_id, run_time, filesystem_number)
JOIN scan.owner USING (run_id, run_time, statistic_number)
WHERE gone = 1
GROUP BY host, mount_point, owner_id;

-- The same over the fleet.
CREATE OR REPLACE VIEW scan.fleet_orphan AS
SELECT owner_id, count(DISTINCT host) AS hosts, sum(files) AS files, sum(bytes) AS bytes
FROM scan.orphan
GROUP BY owner_id;

-- What nobody has read for a year, by owner: where definitions ask for it by a statistic of that name
-- (examples/old-data.toml).
CREATE OR REPLACE VIEW scan.unread AS
SELECT host, mount_point, owner_id, owner_name, owner.files, owner.bytes
FROM scan.newest_run JOIN scan.filesystem USING (run_id, run_time)
JOIN scan.statistic USING (run_id, run_time, filesystem_number)
JOIN scan.owner USING (run_id, run_time, statistic_number)
WHERE directory IS NULL
  AND (statistic_name = 'not read for a year' OR statistic_name LIKE '%.not read for a year');

-- Files that nobody has read for a year, of those that lists hold.
CREATE OR REPLACE VIEW scan.unread_file AS
SELECT DISTINCT host, path, coalesce(owner_name, owner_id::text) AS owner, file.bytes,
  (scan_time - accessed) / 86400 AS days
FROM scan.newest_run JOIN scan.filesystem USING (run_id, run_time)
JOIN scan.statistic USING (run_id, run_time, filesystem_number)
JOIN scan.file USING (run_id, run_time, statistic_number)
WHERE accessed < scan_time - 365 * 86400;

-- Tables that an upgrade has brought get the months that the others have.
SELECT scan.make_month(extract(epoch FROM to_date(month, 'YYYY_MM'))::bigint)
FROM (SELECT DISTINCT right(relname, 7) AS month FROM pg_class JOIN pg_inherits ON inhrelid = pg_class.oid
  WHERE relnamespace = 'scan'::regnamespace AND relkind = 'r') AS months;
