@echo off
rem Stops and removes the service, its settings and its event source. The program files stay, and so
rem do the logs and the dump, unless told otherwise.
rem
rem   uninstall.cmd [/removelogs] [/wait SECONDS]
rem
rem   /removelogs     removes the data folder too, with all logs and the dump
rem   /wait SECONDS   how long the service may take to stop, and to go; 120 if not given
rem
rem The exit code is 0 if all is gone.
setlocal EnableExtensions DisableDelayedExpansion
rem In a path with one of these characters the interpreter would read parts of it as its own.
for /f "tokens=2 delims=&%%^!" %%c in ("-%~dp0-") do goto bad_folder
set "shared=%~dp0shared.cmd"
set "service="
call "%shared%" names 2>nul
if not defined service goto bad_folder
set "remove_logs="
set "limit=120"
set "failed="

:next_argument
if "%~1"=="" goto begin
if /i "%~1"=="/removelogs" goto argument_remove_logs
if /i "%~1"=="/wait" goto argument_wait
echo Unknown argument: %1
goto usage

:no_number
echo Not a number of seconds: %2

:usage
echo Usage: uninstall.cmd [/removelogs] [/wait SECONDS]
exit /b 1

:argument_remove_logs
set "remove_logs=yes"
shift
goto next_argument

:argument_wait
set /a "limit=%~2" 2>nul
if not "%limit%"=="%~2" goto no_number
if %limit% lss 0 goto no_number
shift
shift
goto next_argument

:begin
echo.
echo Uninstalling %service%
echo.
call "%shared%" elevated
if errorlevel 1 goto not_elevated

call "%shared%" compare "%service_key%" ImagePath image_path
if not defined stored goto no_service
if errorlevel 1 call :use_registered_executable
call :stop_service
if defined failed goto end
for %%s in (%settings%) do call :tell_setting %%s
call :delete_service
if defined failed goto end
goto remove_rest

:no_service
call :told "service was not registered"
rem Settings without a service, made by hand.
%reg% delete "%service_key%" /f >nul 2>&1

:remove_rest
call :remove_event_source
call :remove_data_folder

:end
echo.
if defined failed echo Not all is gone: see the lines above.
if defined failed exit /b 1
echo Done. This folder can be deleted now.
exit /b 0

:bad_folder
echo The script can't work in this folder: its path has one of the characters ^& %% ^^ ! in it, or
echo shared.cmd is missing. Unpack the whole package into another folder and run the script there.
exit /b 1

:not_elevated
echo This needs the rights of an administrator: start the prompt with "Run as administrator".
exit /b 1

rem ---- the steps ---------------------------------------------------------------------------------

:use_registered_executable
call "%shared%" registered
call :told "service is registered from another folder"
goto :eof

:stop_service
%sc% query %service% | %find% "STOPPED" >nul
if not errorlevel 1 goto await_process
%sc% stop %service% >nul 2>&1
if not errorlevel 1 goto await_process
rem A stop that takes long is a failure for sc too; one that was refused leaves the service running.
%sc% query %service% | %find% "RUNNING" >nul
if not errorlevel 1 goto stop_refused

:await_process
set "waited=0"

:await_process_again
call "%shared%" in_use
if not errorlevel 1 goto await_process_longer
rem A program can run although its file was renamed.
%sc% query %service% | %find% "STOPPED" >nul
if not errorlevel 1 goto process_gone

:await_process_longer
if %waited% geq %limit% goto stop_too_slow
call "%shared%" pause
set /a waited=waited + 1
goto await_process_again

:process_gone
call :told "service stopped, its process is gone"
goto :eof

:stop_refused
call :not_done "service does not accept a stop now; nothing was removed"
echo             a component has not allowed it: see the log, try again later, or set the service to
echo             disabled, restart the machine and run this again
goto :eof

:stop_too_slow
call :not_done "a program still runs from the executable after %limit% s; nothing was removed"
echo             try again with a longer /wait, and end what runs in a console with Ctrl+C
goto :eof

:tell_setting
call "%shared%" has "%service_key%" %1 REG_
if errorlevel 1 goto :eof
call set "value=%%default_%1%%"
for /f "tokens=3" %%v in ('%reg% query "%service_key%" /v %1') do call :to_number %%v
if not "%number%"=="%value%" call :told "setting %1 was %number%, default %value%"
goto :eof

rem From 0x80000000 on the interpreter can't tell the number; it is shown as it stands.
:to_number
set "number=%1"
set /a number=%1 2>nul
goto :eof

:delete_service
%sc% delete %service% >nul
rem It was marked for deletion before.
if "%errorlevel%"=="1072" goto await_deletion_from_now
if errorlevel 1 goto delete_failed

:await_deletion_from_now
set "waited=0"

:await_deletion
%reg% query "%service_key%" >nul 2>&1
if errorlevel 1 goto deleted
if %waited% geq %limit% goto deletion_too_slow
call "%shared%" pause
set /a waited=waited + 1
goto await_deletion

:deleted
call :told "service and its settings removed"
goto :eof

:delete_failed
call :not_done "sc delete failed with %errorlevel%"
goto :eof

:deletion_too_slow
call :not_done "the service is marked for deletion, but something keeps it open"
echo             close the services console and what else shows services, then run this again
goto :eof

:remove_event_source
%reg% query "%source_key%" >nul 2>&1
if errorlevel 1 goto no_event_source
%reg% delete "%source_key%" /f >nul
if errorlevel 1 goto event_source_stays
call :told "event source removed"
goto :eof

:event_source_stays
call :not_done "event source: reg delete failed"
goto :eof

:no_event_source
call :told "event source was not registered"
goto :eof

:remove_data_folder
if not exist "%data%\" goto :eof
if not defined remove_logs goto keep_data_folder
call "%shared%" linked
if not errorlevel 1 goto linked_data_folder
rmdir /s /q "%data%"
if exist "%data%\" goto data_folder_stays
rem The folder above goes with it if it has become empty.
rmdir "%data_parent%" >nul 2>&1
call :told "data folder removed, with all logs"
goto :eof

:keep_data_folder
call :told "logs kept in %data%"
goto :eof

:linked_data_folder
call :not_done "data folder: %link% is a link; its target may be somebody else's"
echo             look where it leads, remove the link with rmdir, then run this again
goto :eof

:data_folder_stays
call :not_done "data folder: %data% can't be removed"
goto :eof

rem ---- one line for each step --------------------------------------------------------------------

:told
echo   %~1
goto :eof

:not_done
echo   FAILED    %~1
set "failed=yes"
goto :eof
