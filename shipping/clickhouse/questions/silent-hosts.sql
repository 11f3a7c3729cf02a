-- Hosts of the last 7 days without a record for an hour. "stopped": the service ended in order at
-- that time. A host that never sent anything is not here; compare with an inventory.
SELECT host, last, if(stopped >= last - 1, 'stopped', 'silent') AS state
FROM (
    SELECT host, max(time) AS last
    FROM quillon.records
    WHERE day >= today() - 7
    GROUP BY host
    HAVING last < now() - 3600
)
ANY LEFT JOIN (
    SELECT host, max(time) AS stopped
    FROM quillon.records
    WHERE day >= today() - 7 AND component = 'quillon' AND message = 'End'
    GROUP BY host
) USING host
ORDER BY last, host
