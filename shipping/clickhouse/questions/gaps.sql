-- Records of the last 7 days that are missing: whole files of a run, and records within its files.
-- What is missing at the end of a run can't be seen. Of a run that began earlier, what came before
-- the first record of the 7 days isn't counted. messages.txt in the host's spool folder has the
-- reason.
SELECT
    host, run,
    max(number) - if(whole, 0, min(number)) + 1 - count() AS files_missing,
    sum(highest - present) - if(whole, 0, argMin(lowest - 1, number)) AS records_missing
FROM (
    SELECT
        host, run, number, min(record) AS lowest, max(record) AS highest, uniqExact(record) AS present,
        toUInt32OrZero(extract(run, '-([0-9]{8})-[0-9]{6}-[0-9]{3}$')) >= toYYYYMMDD(today() - 7)
            AS whole
    FROM quillon.records
    WHERE day >= today() - 7
    GROUP BY host, run, number
)
GROUP BY host, run, whole
HAVING files_missing > 0 OR records_missing > 0
ORDER BY host, run
