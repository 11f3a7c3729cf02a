@echo off
rem Registers the service host in this folder as a Windows service. It can be run at any time: what
rem is as it should be, and what an administrator has changed, stays; only the rights of the data
rem folder are made anew if they are others. It never starts or stops the service. The exit code is
rem 0 if all is done.
setlocal EnableExtensions DisableDelayedExpansion
rem In a path with one of these characters the interpreter would read parts of it as its own.
for /f "tokens=2 delims=&%%^!" %%c in ("-%~dp0-") do goto bad_folder
set "shared=%~dp0shared.cmd"
set "service="
call "%shared%" names 2>nul
if not defined service goto bad_folder
set "changed="
set "failed="

echo.
echo Installing %service%
echo.
call "%shared%" elevated
if errorlevel 1 goto not_elevated
if not exist "%executable%" goto no_executable

call :install_service
if defined failed goto end
call :install_description
call :install_recovery
for %%s in (%settings%) do call :install_setting %%s
call :install_data_folder
call :install_event_source

:end
echo.
if defined failed echo Not all could be done: see the lines above.
if defined failed exit /b 1
if not defined changed echo All was there already; nothing was changed.
if defined changed echo Done. Look at the result with check.cmd; start with: sc start %service%
if exist "%controller%" exit /b 0
echo.
echo orrin-ctrl.dll is missing in this folder. It belongs to the components and is not part of this
echo package. Copy it here before the first start: without it the program ends before it begins, and
echo the start fails.
exit /b 0

:bad_folder
echo The script can't work in this folder: its path has one of the characters ^& %% ^^ ! in it, or
echo shared.cmd is missing. Unpack the whole package into another folder and run the script there.
exit /b 1

:not_elevated
echo This needs the rights of an administrator: start the prompt with "Run as administrator".
exit /b 1

:no_executable
echo tarnwick-service.exe is not in the folder of this script. Unpack the whole package and run the
echo script from there.
exit /b 1

rem ---- the steps ---------------------------------------------------------------------------------

:install_service
call "%shared%" has "%service_key%" DeleteFlag 0x1
if not errorlevel 1 goto marked_for_deletion
call "%shared%" compare "%service_key%" ImagePath image_path
if not errorlevel 1 goto keep_service
if defined stored goto move_service
goto create_service

:keep_service
call :kept "service, registered from this folder"
goto :eof

:marked_for_deletion
call :not_done "service: the old one is marked for deletion, but not gone yet"
echo             close the services console and what else shows services, then run this again
goto :eof

rem Inside of a quoted argument a quote needs a backslash.
:create_service
set "options=type= own start= auto"
%sc% create %service% binPath= "\"%executable%\"" %options% DisplayName= "%display_name%" >nul
if errorlevel 1 goto create_failed
call :made "service, own process, starts with the system"
goto :eof

:create_failed
call :not_done "service: sc create failed with %errorlevel%"
echo             1072: the old one is not gone yet; close the services console and try again
goto :eof

:move_service
%sc% config %service% binPath= "\"%executable%\"" >nul
if errorlevel 1 goto move_failed
call :made "service, now from this folder"
call "%shared%" show "            it was " stored
echo             a running service goes on as it is; the next start is from here
goto :eof

:move_failed
call :not_done "service: registered from another folder, and sc config failed"
call "%shared%" show "            run uninstall.cmd first, then this again; registered is " stored
goto :eof

:install_description
%reg% query "%service_key%" /v Description >nul 2>&1
if not errorlevel 1 goto keep_description
%sc% description %service% "%description%" >nul
call :report "description"
goto :eof

:keep_description
call :kept "description"
goto :eof

:install_recovery
if defined wine goto no_recovery
call "%shared%" has "%service_key%" FailureActions REG_BINARY
if not errorlevel 1 goto keep_recovery
%sc% failure %service% reset= %recovery_reset% actions= %recovery_actions% >nul
if errorlevel 1 goto recovery_failed
call :made "recovery: restart after 5 s, 30 s, 2 min"
goto install_recovery_flag

:keep_recovery
call :kept "recovery"

rem The forced stop ends the service in order, with an exit code; it is to be restarted too.
:install_recovery_flag
call "%shared%" has "%service_key%" FailureActionsOnNonCrashFailures REG_DWORD
if not errorlevel 1 goto keep_recovery_flag
%sc% failureflag %service% 1 >nul
if errorlevel 1 goto recovery_failed
call :made "recovery after a stop with an error too"
goto :eof

:keep_recovery_flag
call :kept "recovery after a stop with an error too"
goto :eof

:recovery_failed
call :not_done "recovery: sc failure or sc failureflag failed"
goto :eof

:no_recovery
call :not_here "recovery: Wine's service manager has no recovery actions"
goto :eof

:install_setting
call "%shared%" has "%service_key%" %1 REG_
if not errorlevel 1 goto keep_setting
call set "value=%%default_%1%%"
%reg% add "%service_key%" /v %1 /t REG_DWORD /d %value% /f >nul
call :report "setting %1 = %value%"
goto :eof

:keep_setting
call :kept "setting %1"
goto :eof

:install_data_folder
call "%shared%" linked
if not errorlevel 1 goto linked_data_folder
if exist "%data%\" goto data_folder_exists
mkdir "%data%"
if not exist "%data%\" goto no_data_folder
call :made "data folder"
goto restrict_data_folder

:data_folder_exists
call :kept "data folder"
goto restrict_data_folder

:linked_data_folder
call :not_done "data folder: %link% is a link"
echo             anybody may have made it, and its target would get the rights of the data folder:
echo             look where it leads, remove the link with rmdir, then run this again
goto :eof

:no_data_folder
call :not_done "data folder: %data% can't be made"
goto :eof

:restrict_data_folder
if defined wine goto no_rights
rem Anybody may make folders in the machine-wide data folder, so this one can be somebody else's.
rem Who owns a folder may change its rights, so the owner comes first, even if the rights are as they
rem should be; and last comes what was in it before.
%icacls% "%data%" /setowner %administrators_sid% /l /q >nul
if errorlevel 1 goto rights_failed
call "%shared%" rights
if not errorlevel 1 goto keep_rights
rem What others were granted by name goes with the reset, what is inherited after it.
%icacls% "%data%" /reset /l /q >nul
if errorlevel 1 goto rights_failed
set "grants=%system_sid%:(OI)(CI)F %administrators_sid%:(OI)(CI)F"
%icacls% "%data%" /inheritance:r /grant:r %grants% /l /q >nul
if errorlevel 1 goto rights_failed
set "filled="
pushd "%data%"
for /f "delims=" %%f in ('dir /a /b') do set "filled=yes"
popd
if not defined filled goto rights_made
%icacls% "%data%\*" /setowner %administrators_sid% /t /c /l /q >nul
if errorlevel 1 goto rights_failed
%icacls% "%data%\*" /reset /t /c /l /q >nul
if errorlevel 1 goto rights_failed

:rights_made
call :made "rights of the data folder: system and administrators"
goto :eof

:keep_rights
call :kept "rights of the data folder"
goto :eof

:rights_failed
call :not_done "rights of the data folder: icacls failed"
goto :eof

:no_rights
call :not_here "rights of the data folder: Wine's icacls has no effect"
goto :eof

:install_event_source
call "%shared%" compare "%source_key%" EventMessageFile messages
if errorlevel 1 goto add_event_source
call "%shared%" has "%source_key%" TypesSupported 0x7
if errorlevel 1 goto add_event_source
call :kept "event source"
goto :eof

:add_event_source
%reg% add "%source_key%" /v EventMessageFile /t REG_EXPAND_SZ /d "%messages%" /f >nul
if errorlevel 1 goto event_source_failed
%reg% add "%source_key%" /v TypesSupported /t REG_DWORD /d 7 /f >nul
if errorlevel 1 goto event_source_failed
call :made "event source, with the texts of tarnwick-messages.dll"
goto :eof

:event_source_failed
call :not_done "event source: reg add failed"
goto :eof

rem ---- one line for each step --------------------------------------------------------------------

rem report STEP: by the result of the command before it.
:report
if errorlevel 1 goto not_done

:made
echo   made      %~1
set "changed=yes"
goto :eof

:kept
echo   kept      %~1
goto :eof

:not_here
echo   not here  %~1
goto :eof

:not_done
echo   FAILED    %~1
set "failed=yes"
goto :eof
