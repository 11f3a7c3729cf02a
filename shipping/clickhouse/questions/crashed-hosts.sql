-- Runs of the last 7 days that didn't end in order. "crashed": the log has the line of a crash.
-- "cut off": the log has no "End", and a later run of the same host exists. The newest run of a host
-- may still be running, so it is listed only if it has crashed. A host whose TraceLevelsMask lacks 4
-- logs no "End".
SELECT host, run, process, began, last, if(crashed, 'crashed', 'cut off') AS how
FROM (
    SELECT
        host, run, any(pid) AS process, min(time) AS began, max(time) AS last,
        max(level = 'E' AND (message LIKE 'ExceptionFilter (Thread %): exception occur%'
            OR message LIKE 'VectoredExceptionProcessing occured for heap corruption%')) AS crashed,
        max(component = 'quillon' AND message = 'End') AS ended
    FROM quillon.records
    WHERE day >= today() - 7
    GROUP BY host, run
)
ANY LEFT JOIN (
    SELECT host, max(run) AS newest FROM quillon.records WHERE day >= today() - 7 GROUP BY host
) USING host
WHERE crashed OR (NOT ended AND run != newest)
ORDER BY last DESC, host
