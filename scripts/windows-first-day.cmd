@echo off
rem The first day on Windows: builds the service host or takes a package, tries what could not be
rem tried on Wine, and leaves one folder with the answers.
rem
rem   windows-first-day.cmd [PROGRAMS [OLD.msi NEW.msi]]
rem
rem   PROGRAMS   the folder that contains service-tool.exe, with the DEVELOPMENT controller as
rem              orrin-ctrl.dll: build\windows\bin\RelWithDebInfo of a finished build, or the folder
rem              tarnwick-service-VERSION of an unpacked package with the controller copied into it
rem              (scripts/build.sh on Debian leaves it in out/bin). Without PROGRAMS, or with "",
rem              the script builds the checkout that it is in and runs all tests.
rem   OLD.msi    two packages of different versions, to try the upgrade and the repair too;
rem   NEW.msi    docs/releasing.md describes how to make them.
rem
rem In a Command Prompt (cmd.exe) started with "Run as administrator", in a folder of your own on a
rem local disk:
rem
rem     cd /d C:\source\tarnwick-service
rem     scripts\windows-first-day.cmd
rem
rem A build needs Visual Studio 2022, CMake and vcpkg: see CONTRIBUTING.md, "Building on Windows".
rem
rem Use a machine without the service and without the installed package, best a virtual one: the
rem script installs and removes the service VelmoraTarnwickService several times and REMOVES
rem %ALLUSERSPROFILE%\Velmora\Quillon. It takes some 5 minutes; a build and all tests take an hour or
rem more. Programs crash on purpose:
rem
rem   - Switch off Visual Studio's Just-In-Time debugger (Tools, Options, Debugging, Just-In-Time):
rem     it holds each crashed program until somebody answers. Close other windows about a crash.
rem   - Smart App Control must be off: it blocks unsigned programs. A virus scanner makes tests slow.
rem   - If a step other than the tests takes more than ten minutes, end its program in the Task
rem     Manager; the script continues.
rem   - After Ctrl+C: remove orrin-ctrl.script from PROGRAMS, then run service-tool uninstall there.
rem
rem The folder first-day-answers is created in the current folder. summary.txt has a line for each
rem step: "ok" if the exit code is the expected one, "DIFFERS" if not, "answer" where any result is an
rem answer, "not run". The exit code is 0 if nothing differs, 1 if something does, 2 if the script
rem refuses to start. Send the folder to whoever asked you to run this:
rem
rem     tar -a -c -f first-day-answers.zip first-day-answers
rem
rem It contains memory dumps and logs of these programs, the names of machine and user, and crash
rem reports of other programs of this machine.
setlocal EnableExtensions DisableDelayedExpansion
set "service=VelmoraTarnwickService"
set "programs=%~1"
set "old_msi=%~2"
set "new_msi=%~3"
set "root=%~dp0.."
set "out=%CD%\first-day-answers"
set "installed=%ProgramFiles%\Velmora\Tarnwick"
rem With its path: other tool sets have another find.
set "find=%SystemRoot%\System32\find.exe"
set "differs=0"

rem Everything that refuses comes before the folder is created.
if "%programs%"=="/?" goto usage
if not "%~4"=="" goto usage
if not "%old_msi%"=="" if "%new_msi%"=="" goto usage
if /i "%CD%"=="%SystemRoot%\System32" goto system_folder
if exist "%out%" goto out_exists
sc query %service% >nul 2>&1
if not errorlevel 1 goto is_registered
if "%new_msi%"=="" goto without_packages
if not exist "%old_msi%" goto no_package
if not exist "%new_msi%" goto no_package
if exist "%installed%" goto is_installed
:without_packages
if not "%programs%"=="" goto with_programs
rem Only administrators can read this key.
reg query "HKU\S-1-5-19" >nul 2>&1
if errorlevel 1 goto not_elevated
if "%root:~0,2%"=="\\" goto not_local
where cmake >nul 2>&1
if errorlevel 1 goto no_cmake
rem The vcpkg that comes with Visual Studio has no such folder.
if not exist "%VCPKG_ROOT%\ports\zlib" goto no_vcpkg
goto checked

:with_programs
call :find_programs
if not exist "%programs%\service-tool.exe" goto no_programs
if not exist "%programs%\orrin-ctrl.dll" goto no_controller
rem Without administrator rights it prints this sentence. It can't stop anything: nothing is installed.
%tool% stop 2>&1 | "%find%" "Run as administrator" >nul 2>&1
if not errorlevel 1 goto not_elevated

:checked
mkdir "%out%"
if not exist "%out%" goto no_out
if "%programs%"=="" call :build
if "%programs%"=="" goto finish
call :find_programs
call :environment
call :install
call :start_and_stop
call :failing_stop
call :crashes
call :tools
call :foreign_folder
call :open_questions
set run=%tool% uninstall --remove-logs
call :step 88-uninstall 0
call :packages
goto finish

:usage
echo Usage: windows-first-day.cmd [PROGRAMS [OLD.msi NEW.msi]]
echo The first lines of this file explain it.
exit /b 2

:system_folder
echo The answers would go into the system folder: change to a folder of your own first (cd /d).
exit /b 2

:out_exists
echo The folder first-day-answers exists here already: rename or remove it first.
exit /b 2

:is_registered
echo The service is installed on this machine. If it isn't in use, run service-tool uninstall first.
exit /b 2

:no_package
echo There is no package "%old_msi%" or no package "%new_msi%".
exit /b 2

:is_installed
echo "%installed%" exists already. Remove the installed package first.
exit /b 2

:not_elevated
echo This needs administrator rights: start the prompt with "Run as administrator".
exit /b 2

:not_local
echo The checkout is on a network path: copy it to a local disk.
exit /b 2

:no_cmake
echo There is no cmake on the path. See CONTRIBUTING.md, "Building on Windows".
exit /b 2

:no_vcpkg
echo VCPKG_ROOT doesn't name a clone of vcpkg. See CONTRIBUTING.md, "Building on Windows".
exit /b 2

:no_programs
echo There is no service-tool.exe in "%programs%": name the folder that contains it.
exit /b 2

:no_controller
echo There is no orrin-ctrl.dll in "%programs%". Copy the development controller there; a checkout
echo builds it (target orrin_ctrl). The real library can't be told to crash.
exit /b 2

:no_out
echo The folder first-day-answers can't be created here: use a folder that you may write to.
exit /b 2

:finish
echo.
if exist "%out%\summary.txt" type "%out%\summary.txt"
echo.
echo Steps with another result than expected: %differs%. Send the folder with the answers:
echo   "%out%"
if "%differs%"=="0" exit /b 0
exit /b 1

rem ---- the steps ---------------------------------------------------------------------------------

:find_programs
set tool="%programs%\service-tool.exe"
set host="%programs%\tarnwick-service.exe"
set "script=%programs%\orrin-ctrl.script"
set "data=%ALLUSERSPROFILE%\Velmora\Quillon"
set "dump=%ALLUSERSPROFILE%\Velmora\Quillon\tarnwick-service.exe.dmp"
exit /b 0

:build
pushd "%root%"
set run=cmake --preset windows
call :step 01-O12-configure 0
set run=cmake --build --preset windows --parallel
call :step 02-build 0
if "%code%"=="0" goto built
rem Warnings are errors by default. Without that, 02-build-with-warnings.txt has all of them.
set run=cmake --preset windows --compile-no-warning-as-error
call :step 02-configure-with-warnings any
set run=cmake --build --preset windows --parallel
call :step 02-build-with-warnings 0
:built
rem Some tests expect what only Wine does: the output is the answer.
set run=ctest --preset windows
call :step 03-tests any
set "bin=%CD%\build\windows\bin\RelWithDebInfo"
popd
if exist "%bin%\service-tool.exe" set "programs=%bin%"
exit /b 0

:environment
set run=cmd /c ver
call :step 10-system any
set run=reg query "HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion" /v CurrentBuild
call :step 11-build-number any
set run=%tool% status
call :step 12-O11-status-before 0
exit /b 0

:install
call :no_script
set run=%tool% install --dry-run
call :step 20-install-dry-run 0
set run=%tool% install
call :step 21-install 0
set run=%tool% install --frobnicate
call :step 22-install-unknown-argument 2
set run=%tool% check
call :step 23-O13-check 0
set run=sc qc %service%
call :step 24-configuration 0
set run=sc qfailure %service%
call :step 25-recovery any
set run=sc qfailureflag %service%
call :step 25-recovery-flag any
set run=reg query HKLM\SYSTEM\CurrentControlSet\Services\%service% /s
call :step 26-registry 0
set run=icacls "%data%"
call :step 27-rights any
exit /b 0

:start_and_stop
set run=sc start %service%
call :step 30-O11-start 0
call :pause 5
call :expect_state 31-running RUNNING
set run=%tool% check
call :step 32-check-running 0
set run=%tool% install
call :step 33-install-while-running 0
set run=%tool% stop
call :step 34-stop 0
call :expect_state 35-stopped STOPPED
exit /b 0

rem The recovery restarts a service 5 s after its stop ended with an error; service-tool stop
rem prevents that.
:failing_stop
>"%script%" echo on load register
>>"%script%" echo on activate enable-stop
>>"%script%" echo on deactivate return 5
set run=sc start %service%
call :step 40-start-for-failing-stop 0
call :pause 5
set run=sc stop %service%
call :step 41-sc-stop any
call :pause 10
call :expect_state 42-O9-recovery-restarted RUNNING
set run=%tool% stop
call :step 43-service-tool-stop any
call :pause 10
call :expect_state 44-stays-stopped STOPPED
set run=%tool% check
call :step 45-recovery-restored 0
exit /b 0

rem Crashes of the service and of console runs. A new registration starts the count of failures at 0,
rem so that the restart comes after 5 s and not during a later step.
:crashes
set run=%tool% uninstall
call :step 50-uninstall 0
set run=%tool% install
call :step 50-install 0
>"%script%" echo on load register
>>"%script%" echo on activate after 2000 crash read
del "%dump%" >nul 2>&1
set run=sc start %service%
call :step 51-start-for-crash any
call :pause 5
rem The restarted service must not crash again.
call :no_script
set run=%tool% status
call :step 51-status-after-crash 0
set run=sc query %service%
call :step 52-state-after-crash 0
copy "%dump%" "%out%\service-crash.dmp" >nul 2>&1
call :pause 10
set run=sc query %service%
call :step 53-state-after-restart any
rem Only a service that really runs accepts a stop.
set run=sc stop %service%
call :step 54-sc-stop-after-restart 0
set run=%tool% stop
call :step 55-stop-after-restart any
for %%k in (read divide illegal cpp heap-corruption stack-overflow fail-fast) do call :console_crash %%k
call :no_script
exit /b 0

:console_crash
del "%dump%" >nul 2>&1
>"%script%" echo on load register
>>"%script%" echo on activate crash %1
set run=%host% -run
call :step 56-console-crash-%1 any
copy "%dump%" "%out%\console-crash-%1.dmp" >nul 2>&1
exit /b 0

:tools
set run="%programs%\controller-check.exe" "%programs%\orrin-ctrl.dll"
call :step 60-controller-check 0
set run="%programs%\quillon-log.exe" -n 200
call :step 61-log any
rem What does the service manager report if the library is missing? (A console run would open a
rem message box and wait for somebody to close it.)
ren "%programs%\orrin-ctrl.dll" orrin-ctrl.away
set run=sc start %service%
call :step 62-O14-start-without-controller any
set run=sc query %service%
call :step 63-O14-state-without-controller any
ren "%programs%\orrin-ctrl.away" orrin-ctrl.dll
xcopy /e /i /q "%data%\Logs" "%out%\logs" >nul 2>&1
exit /b 0

rem A data folder that belongs to somebody else, in which administrators have no rights. The group
rem Guests, because every administrator is also a member of Users. The owner is set while that is
rem still allowed.
:foreign_folder
set run=%tool% uninstall --remove-logs
call :step 70-uninstall-with-logs 0
mkdir "%data%" >nul 2>&1
>"%data%\left-by-somebody.txt" echo left
set run=icacls "%data%" /setowner *S-1-5-32-546 /t
call :step 71-foreign-owner any
set run=icacls "%data%" /inheritance:r /grant:r *S-1-5-32-546:(OI)(CI)F
call :step 71-foreign-rights any
rem Proves that the two commands above worked.
set run=cmd /c dir "%data%"
call :step 72-foreign-folder-is-closed 1
set run=%tool% install
call :step 73-install-over-foreign-folder 0
set run=%tool% check
call :step 74-O13-check-rights 0
set run=icacls "%data%" /t
call :step 75-rights-after any
set run=cmd /c dir /q "%data%"
call :step 76-owner-after any
exit /b 0

rem The open questions of docs/windows.md, by number. The step's file has the answer. O7, a selection
rem in a console window, needs a person.
:open_questions
rem Does the log of a run end with "End" when the library calls ExitProcess?
>"%script%" echo on load register
>>"%script%" echo on activate exit 5
set run=%host% -run
call :step 80-O6-library-exits any
set run="%programs%\quillon-log.exe" -n 5
call :step 81-O6-log-after-library-exit any
call :no_script
rem How is a number that is too large read?
set run=%host% -dump 4294967297 1 0
call :step 82-dump-number-too-large any
call :dump_of_another_process
set run="%programs%\quillon-log.exe" -n 40
call :step 84-log-of-dumps any
call :test_program 0 O1 scm_races.exe
call :test_program 0 O2 service_tests.exe ServiceStop.*:ServiceCycles.*
call :test_program 0 O3 framework_exception_tests.exe CorruptHeap.*
call :test_program any O4 crash_tests.exe *StackOverflow*
call :test_program 0 O5 crash_tests.exe DumpMode.PointerThatDoesNotParse*
call :test_program 0 O6 console_tests.exe ConsoleExit.*
set run=reg query HKLM\SYSTEM\CurrentControlSet\Control /v WaitToKillServiceTimeout
call :step 85-O8 any
set run=wevtutil qe Application /c:50 /rd:true /f:text "/q:*[System[Provider[@Name='Application Error']]]"
call :step 86-crashes-in-the-event-log any
set run=wevtutil qe System /c:60 /rd:true /f:text "/q:*[System[Provider[@Name='Service Control Manager']]]"
call :step 87-service-manager-events any
exit /b 0

rem PowerShell starts the other process, because it knows the ids of its process and thread.
:dump_of_another_process
set "victim="
for /f "tokens=1,2" %%a in ('powershell -NoProfile -Command "$p = Start-Process ping -ArgumentList '-n 60 127.0.0.1' -WindowStyle Hidden -PassThru; Start-Sleep 1; '{0} {1}' -f $p.Id, $p.Threads[0].Id" 2^>nul') do set "victim=%%a %%b"
if "%victim%"=="" goto no_victim
del "%dump%" >nul 2>&1
set run=%host% -dump %victim% 0
call :step 83-O5-dump-of-another-process any
copy "%dump%" "%out%\dump-of-another-process.dmp" >nul 2>&1
exit /b 0

:no_victim
>>"%out%\summary.txt" echo not run  83-O5-dump-of-another-process: no process to dump
exit /b 0

rem test_program CODE QUESTION PROGRAM [FILTER]
:test_program
if not exist "%programs%\%3" goto no_test_program
set run="%programs%\%3"
if not "%~4"=="" set run="%programs%\%3" "--gtest_filter=%~4"
call :step 85-%2 %1
exit /b 0

:no_test_program
>>"%out%\summary.txt" echo not run  85-%2: there is no %3
exit /b 0

rem /norestart: without it /qn restarts the machine if files are in use. P11 and P12 ask what happens
rem to a service that runs meanwhile.
:packages
if "%new_msi%"=="" exit /b 0
set run=powershell -NoProfile -Command "Get-AuthenticodeSignature -LiteralPath '%new_msi%' | Format-List"
call :step P01-O15-signature any
set run=msiexec /i "%old_msi%" /qn /norestart /l*v "%out%\P02-msi-old.log"
call :step P02-msi-old 0
copy "%programs%\orrin-ctrl.dll" "%installed%" >nul 2>&1
set run="%installed%\service-tool.exe" install
call :step P03-install-old 0
set run=msiexec /i "%new_msi%" /qn /norestart /l*v "%out%\P04-msi-upgrade.log"
call :step P04-msi-upgrade 0
set run=cmd /c dir "%installed%"
call :step P05-files-after-upgrade 0
set run="%installed%\service-tool.exe" check
call :step P06-check-after-upgrade 0
del "%installed%\quillon-log.exe" >nul 2>&1
set run=msiexec /fa "%new_msi%" /qn /norestart /l*v "%out%\P07-msi-repair.log"
call :step P07-msi-repair 0
set run="%installed%\quillon-log.exe" --help
call :step P08-repaired-file 0
set run=sc start %service%
call :step P09-O11-start 0
call :pause 5
set run=sc queryex %service%
call :step P10-O10-state-before-repair any
set run=msiexec /fa "%new_msi%" /qn /norestart /l*v "%out%\P11-msi-repair-while-running.log"
call :step P11-O10-msi-repair-while-running any
set run=sc queryex %service%
call :step P12-O10-state-after-repair any
set run="%installed%\quillon-log.exe" -n 40
call :step P13-O10-log any
set run="%installed%\service-tool.exe" uninstall --remove-logs
call :step P14-uninstall 0
del "%installed%\orrin-ctrl.dll" >nul 2>&1
set run=msiexec /x "%new_msi%" /qn /norestart /l*v "%out%\P15-msi-remove.log"
call :step P15-msi-remove any
exit /b 0

rem ---- how a step is run -------------------------------------------------------------------------

rem step NAME CODE: runs the command in run and writes NAME.txt. CODE is the expected exit code, or
rem "any" if each result is an answer. Sets code.
:step
echo   %1
>"%out%\%1.txt" echo time %DATE% %TIME%
>>"%out%\%1.txt" echo %run%
%run% >>"%out%\%1.txt" 2>&1 <nul
set "code=%errorlevel%"
>>"%out%\%1.txt" echo exit code %code%
>>"%out%\%1.txt" echo time %DATE% %TIME%
if "%2"=="any" goto step_any
if "%2"=="%code%" goto step_ok
>>"%out%\summary.txt" echo DIFFERS  %1: exit code %code%, expected %2
set /a differs=differs + 1
exit /b 0

:step_any
>>"%out%\summary.txt" echo answer   %1: exit code %code%
exit /b 0

:step_ok
>>"%out%\summary.txt" echo ok       %1: exit code %code%
exit /b 0

rem expect_state NAME STATE
:expect_state
>"%out%\%1.txt" echo time %DATE% %TIME%
sc query %service% >>"%out%\%1.txt" 2>&1
"%find%" "%2" "%out%\%1.txt" >nul 2>&1
if not errorlevel 1 goto state_ok
>>"%out%\summary.txt" echo DIFFERS  %1: the service is not %2
set /a differs=differs + 1
exit /b 0

:state_ok
>>"%out%\summary.txt" echo ok       %1: the service is %2
exit /b 0

:no_script
if exist "%script%" del "%script%"
exit /b 0

rem pause SECONDS
:pause
set /a pings=%1 + 1
ping -n %pings% 127.0.0.1 >nul 2>&1
exit /b 0
