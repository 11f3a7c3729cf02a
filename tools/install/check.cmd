@echo off
rem Looks at everything that install.cmd makes and at what the service needs to start. It changes
rem nothing, but for a key of its own below HKCU, gone at once, through which it reads paths. The
rem exit code is 0 if nothing is wrong; what this system can't show is counted apart.
rem (It isn't called verify.cmd, as verify is a command of the interpreter itself.)
setlocal EnableExtensions DisableDelayedExpansion
rem In a path with one of these characters the interpreter would read parts of it as its own.
for /f "tokens=2 delims=&%%^!" %%c in ("-%~dp0-") do goto bad_folder
set "shared=%~dp0shared.cmd"
set "service="
call "%shared%" names 2>nul
if not defined service goto bad_folder
set "ill=0"
set "unseen=0"

echo.
echo Checking %service%
echo.
call :check_files
call :check_service
call :check_data_folder
call :check_event_source
call :tell_state

echo.
if not "%unseen%"=="0" echo Not checked here: %unseen%.
if "%ill%"=="0" echo Nothing is wrong.
if "%ill%"=="0" exit /b 0
echo Wrong: %ill%.
exit /b 1

:bad_folder
echo The script can't work in this folder: its path has one of the characters ^& %% ^^ ! in it, or
echo shared.cmd is missing. Unpack the whole package into another folder and run the script there.
exit /b 1

rem ---- the checks --------------------------------------------------------------------------------

:check_files
set "finding=tarnwick-service.exe in this folder"
call :exists "%executable%"
call :judge "unpack the whole package, run its scripts from there"
set "finding=orrin-ctrl.dll in this folder"
call :exists "%controller%"
call :judge "copy it here; without it the service can't start"
goto :eof

:exists
if exist "%~1" exit /b 0
exit /b 1

:check_service
set "finding=service registered"
call "%shared%" compare "%service_key%" ImagePath image_path
if not defined stored goto no_service
call "%shared%" has "%service_key%" DeleteFlag 0x1
if not errorlevel 1 goto marked_for_deletion
call :well
set "finding=program of the service is the one in this folder, its path in quotes"
call "%shared%" compare "%service_key%" ImagePath image_path
call :judge "run install.cmd from the folder that is to be used"
set "finding=service has a process of its own"
call "%shared%" has "%service_key%" Type 0x10
call :judge "run: sc config %service% type= own"
set "finding=service starts with the system"
call "%shared%" has "%service_key%" Start 0x2
call :judge "if that is not meant, run: sc config %service% start= auto"
call :check_recovery
for %%s in (%settings%) do call :check_setting %%s
goto :eof

:no_service
call :wrong "run install.cmd"
goto :eof

:marked_for_deletion
set "finding=service registered, but marked for deletion"
call :wrong "close the services console and what else shows services, then run install.cmd"
goto :eof

:check_recovery
set "finding=recovery actions"
if defined wine goto recovery_unseen
call "%shared%" has "%service_key%" FailureActions %recovery_stored%
call :judge "run: sc failure %service% reset= %recovery_reset% actions= %recovery_actions%"
set "finding=recovery after a stop with an error too"
call "%shared%" has "%service_key%" FailureActionsOnNonCrashFailures 0x1
call :judge "run: sc failureflag %service% 1"
goto :eof

:recovery_unseen
call :not_checked "Wine's service manager has none"
goto :eof

:check_setting
set "finding=setting %1"
call set "value=%%default_%1%%"
call "%shared%" has "%service_key%" %1 REG_DWORD
if errorlevel 1 goto setting_wrong
for /f "tokens=3" %%v in ('%reg% query "%service_key%" /v %1') do call :to_number %%v
set "finding=setting %1 = %number%"
if not "%number%"=="%value%" set "finding=setting %1 = %number%, default %value%"
call :well
goto :eof

rem From 0x80000000 on the interpreter can't tell the number; it is shown as it stands.
:to_number
set "number=%1"
set /a number=%1 2>nul
goto :eof

:setting_wrong
call :wrong "the default %value% counts; delete it if it is of another type, then run install.cmd"
goto :eof

:check_data_folder
set "finding=data folder"
call "%shared%" linked
if not errorlevel 1 goto linked_data_folder
if not exist "%data%\" goto no_data_folder
call :well
set "finding=rights of the data folder"
if defined wine goto rights_unseen
call "%shared%" rights
call :judge "others than system and administrators have rights there; run install.cmd"
goto :eof

:linked_data_folder
set "finding=data folder: %link% is a link"
call :wrong "look where it leads, remove the link with rmdir, then run install.cmd"
goto :eof

:no_data_folder
call :wrong "run install.cmd"
goto :eof

:rights_unseen
call :not_checked "Wine's icacls shows none"
goto :eof

:check_event_source
set "finding=event source with the message file of this folder"
call "%shared%" compare "%source_key%" EventMessageFile messages
call :judge "run install.cmd"
set "finding=event source for errors, warnings and information"
call "%shared%" has "%source_key%" TypesSupported 0x7
call :judge "run install.cmd"
set "finding=tarnwick-messages.dll in this folder"
call :exists "%messages%"
call :judge "unpack the whole package; events show no text without it"
goto :eof

:tell_state
set "state="
for /f "tokens=4" %%s in ('%sc% query %service%') do call :take_state %%s
if defined state echo   state      %state%
goto :eof

:take_state
if "%1"=="RUNNING" set "state=%1"
if "%1"=="STOPPED" set "state=%1; to start it, run: sc start %service%"
if "%1"=="START_PENDING" set "state=%1"
if "%1"=="STOP_PENDING" set "state=%1"
goto :eof

rem ---- one line for each finding -----------------------------------------------------------------

rem judge CURE: by the result of the command before it.
:judge
if errorlevel 1 goto wrong

:well
echo   well       %finding%
goto :eof

:wrong
echo   WRONG      %finding%
echo              to mend it: %~1
set /a ill=ill + 1
goto :eof

:not_checked
echo   not checked here: %finding% - %~1
set /a unseen=unseen + 1
goto :eof
