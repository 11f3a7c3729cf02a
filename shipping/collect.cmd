@echo off
rem Writes the records that are new in this host's logs to a file in the host's spool folder.
rem
rem   collect.cmd FOLDER [further arguments of quillon-log]
rem
rem FOLDER is the host's own, usually on a share: \\collector\spool\%COMPUTERNAME%. It holds
rem     cursor         where the next run begins
rem     part           the output of a run that is under way, or was killed
rem     *.jsonl        output to be loaded; the loader deletes a file that it has loaded
rem     messages.txt   what quillon-log reported, records that were lost included
rem
rem For a task that starts it every minute. It may be killed at any time: what the cursor has passed
rem is in "part", and the next run hands that over first.
rem Exit code: that of quillon-log, or 10 if the folder can't be used or another run is under way.
setlocal
set "folder=%~1"
if "%folder%"=="" (
    echo usage: collect.cmd FOLDER [further arguments of quillon-log] 1>&2
    exit /b 2
)
if not defined QUILLON_LOG set "QUILLON_LOG=%~dp0quillon-log.exe"
if not exist "%folder%\" mkdir "%folder%"
call :hand_over
if exist "%folder%\part" exit /b 10
"%QUILLON_LOG%" --json --cursor-file "%folder%\cursor" %2 %3 %4 %5 %6 %7 %8 %9 > "%folder%\part" 2>> "%folder%\messages.txt"
set result=%errorlevel%
call :hand_over
exit /b %result%

rem Renames the output. This fails, and the file stays, while a run still has it open.
:hand_over
if not exist "%folder%\part" exit /b 0
for %%f in ("%folder%\part") do set "size=%%~zf"
if "%size%"=="0" del "%folder%\part" 2> nul
if "%size%"=="0" exit /b 0
set "name=%RANDOM%-%RANDOM%-%RANDOM%.jsonl"
if exist "%folder%\%name%" goto hand_over
ren "%folder%\part" "%name%" 2> nul
exit /b 0
