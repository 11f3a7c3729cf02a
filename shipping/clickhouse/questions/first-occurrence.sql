-- When and where a text occurred first. Put the text in the place of "exception occur".
SELECT host, min(time) AS first, argMin(file, time) AS in_file, argMin(message, time) AS first_message
FROM quillon.records
WHERE position(message, 'exception occur') > 0
GROUP BY host
ORDER BY first, host
LIMIT 20
