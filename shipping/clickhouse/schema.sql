-- Tables for the records of quillon-log --json. Runs on ClickHouse 18.16 and later; every statement
-- can be run again. One statement ends at each semicolon at the end of a line.

CREATE DATABASE IF NOT EXISTS quillon;

-- A record is named by host, file and record, and the name never changes. Of two rows with one name
-- a merge keeps the one with the longer message. A merge stays within a partition, and a record's
-- day never changes either.
-- From version 19.6 on the table can drop old days by itself: add "TTL day + INTERVAL 70 DAY" after
-- ORDER BY. Version 18.16 has no TTL; there drop-old-days.sh does it.
CREATE TABLE IF NOT EXISTS quillon.records (
    day Date,
    time DateTime('UTC'),
    millisecond UInt16,
    host String,
    run String,
    number UInt32,
    file String,
    record UInt32,
    pid UInt32,
    level String,
    component String,
    message String,
    cut UInt8,
    size UInt32
) ENGINE = ReplacingMergeTree(size) PARTITION BY day ORDER BY (host, file, record);

-- Takes the fields as quillon-log prints them, and stores nothing. The three last columns are
-- computed. A record without a time of its own gets the time in the file's name.
CREATE TABLE IF NOT EXISTS quillon.arrivals (
    time String,
    level String,
    component String,
    message String,
    cut UInt8,
    pid UInt32,
    file String,
    record UInt32,
    host String,
    started String MATERIALIZED extract(file, '-([0-9]{8}-[0-9]{6}-[0-9]{3})\\.[0-9]+\\.log$'),
    stamp String MATERIALIZED if(time != '', time, concat(
        substring(started, 1, 4), '-', substring(started, 5, 2), '-', substring(started, 7, 2), 'T',
        substring(started, 10, 2), ':', substring(started, 12, 2), ':', substring(started, 14, 2), '.',
        substring(started, 17, 3), 'Z')),
    moment DateTime('UTC') MATERIALIZED parseDateTimeBestEffortOrZero(stamp, 'UTC')
) ENGINE = Null;

CREATE MATERIALIZED VIEW IF NOT EXISTS quillon.arrivals_to_records TO quillon.records AS
SELECT
    toDate(moment, 'UTC') AS day,
    moment AS time,
    toUInt16OrZero(substring(stamp, 21, 3)) AS millisecond,
    host,
    replaceRegexpOne(file, '\\.[0-9]+\\.log$', '') AS run,
    toUInt32OrZero(extract(file, '\\.([0-9]+)\\.log$')) AS number,
    file,
    record,
    pid,
    level,
    component,
    message,
    cut,
    toUInt32(length(message)) AS size
FROM quillon.arrivals;
