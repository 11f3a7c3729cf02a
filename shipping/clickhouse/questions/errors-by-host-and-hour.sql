-- Errors of the last 24 hours by host and hour. A record that is stored twice counts once.
SELECT host, toStartOfHour(time) AS hour, uniqExact(file, record) AS errors
FROM quillon.records
WHERE day >= today() - 1 AND time >= now() - 86400 AND level = 'E'
GROUP BY host, hour
ORDER BY hour, errors DESC, host
