@echo off
rem The first day on Windows: builds the service host or takes a package, tries everything that could
rem not be tried on Wine, and leaves one folder with the answers.
rem
rem   windows-first-day.cmd [PROGRAMS [OLD.msi NEW.msi]]
rem
rem   PROGRAMS   a folder with an unpacked package and the DEVELOPMENT controller as orrin-ctrl.dll.
rem              (A checkout builds that one: target orrin_ctrl; scripts/build.sh leaves it in
rem              out/bin.) Without PROGRAMS the script builds the checkout that it is in
rem              and runs all tests. That needs Visual Studio 2022, CMake and vcpkg, with
rem              VCPKG_ROOT set, and zlib and gtest installed for x64-windows-static-md.
rem   OLD.msi    two packages of different versions: the upgrade and the repair are tried too.
rem   NEW.msi
rem
rem Start it from a prompt with administrator rights, on a machine without the service, and best on
rem one without other work: it installs and removes the service VelmoraTarnwickService several times,
rem and REMOVES %ALLUSERSPROFILE%\Velmora\Quillon. It takes about 3 minutes; a build and all tests
rem add an hour. Programs crash on purpose: close a window that Windows shows about one.
rem
rem Send back the folder first-day-answers, which it makes in the current folder. summary.txt has a
rem line for each step: "ok" if the exit code was the expected one, "DIFFERS" if not. The exit code
rem is 0 if nothing differs.
setlocal EnableExtensions DisableDelayedExpansion
set "service=VelmoraTarnwickService"
set "programs=%~1"
set "old_msi=%~2"
set "new_msi=%~3"
set "out=%CD%\first-day-answers"
set "differs=0"
if "%programs%"=="/?" goto usage
if not "%~4"=="" goto usage
if exist "%out%" goto out_exists
mkdir "%out%"
if not exist "%out%" goto no_out
if "%programs%"=="" call :build
if "%programs%"=="" goto finish
if not exist "%programs%\service-tool.exe" goto no_programs
if not exist "%programs%\orrin-ctrl.dll" goto no_controller
set tool="%programs%\service-tool.exe"
set host="%programs%\tarnwick-service.exe"
set "script=%programs%\orrin-ctrl.script"

call :environment
call :preconditions
if "%registered%"=="yes" goto is_registered
if "%elevated%"=="no" goto not_elevated
call :install
call :start_and_stop
call :failing_stop
call :crashes
call :tools
call :foreign_folder
call :open_questions
set run=%tool% uninstall --remove-logs
call :step 90-uninstall 0
call :packages
goto finish

:usage
echo Usage: windows-first-day.cmd [PROGRAMS [OLD.msi NEW.msi]]
echo The first lines of this file explain it.
exit /b 2

:out_exists
echo The folder first-day-answers exists here already: send it back or remove it first.
exit /b 2

:no_out
echo The folder first-day-answers can't be made here: use a folder that you may write to.
exit /b 2

:no_programs
echo There is no service-tool.exe in "%programs%": name the folder of an unpacked package.
exit /b 2

:no_controller
echo There is no orrin-ctrl.dll in "%programs%". Copy the development controller there; a checkout
echo builds it (target orrin_ctrl). The real library can't be told to crash.
exit /b 2

:is_registered
echo The service is installed on this machine. Uninstall it first: service-tool uninstall
exit /b 2

:not_elevated
echo This needs administrator rights: start the prompt with "Run as administrator".
exit /b 2

:finish
echo.
if exist "%out%\summary.txt" type "%out%\summary.txt"
echo.
echo Steps with another result than expected: %differs%. Send back the folder
echo   %out%
if "%differs%"=="0" exit /b 0
exit /b 1

rem ---- the steps ---------------------------------------------------------------------------------

:build
set "root=%~dp0.."
pushd "%root%"
set run=cmake --preset windows
call :step 01-configure 0
set run=cmake --build --preset windows --parallel
call :step 02-build 0
rem A failed test doesn't keep the rest from being tried.
set run=ctest --preset windows --timeout 300
call :step 03-tests 0
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
call :step 12-status-before 0
exit /b 0

:preconditions
set "registered=no"
sc query %service% >nul 2>&1
if not errorlevel 1 set "registered=yes"
set "elevated=yes"
rem Without administrator rights it ends with 1 and this sentence; the service isn't registered.
%tool% stop >"%out%\elevation.txt" 2>&1
find "Run as administrator" "%out%\elevation.txt" >nul 2>&1
if not errorlevel 1 set "elevated=no"
del "%out%\elevation.txt"
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
call :step 23-check 0
set run=sc qc %service%
call :step 24-configuration 0
set run=sc qfailure %service%
call :step 25-recovery any
set run=reg query HKLM\SYSTEM\CurrentControlSet\Services\%service% /s
call :step 26-registry 0
set run=icacls "%ALLUSERSPROFILE%\Velmora\Quillon"
call :step 27-rights any
exit /b 0

:start_and_stop
set run=sc start %service%
call :step 30-start 0
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

rem Asks what Wine can't show: a stop that ends with an error is followed by a restart after 5 s, and
rem service-tool stop prevents that.
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
call :expect_state 42-recovery-restarted RUNNING
set run=%tool% stop
call :step 43-service-tool-stop any
call :pause 10
call :expect_state 44-stays-stopped STOPPED
set run=%tool% check
call :step 45-recovery-restored 0
exit /b 0

rem The answer files hold the exit codes. Kept are the dump of the service and the last of a console.
:crashes
>"%script%" echo on load register
>>"%script%" echo on activate after 2000 crash read
set run=sc start %service%
call :step 50-start-for-crash any
call :pause 4
set run=%tool% status
call :step 51-status-after-crash 0
set run=sc query %service%
call :step 52-state-after-crash 0
set run=%tool% stop --wait 30
call :step 53-stop-after-crash any
set "dump=%ALLUSERSPROFILE%\Velmora\Quillon\tarnwick-service.exe.dmp"
copy "%dump%" "%out%\service-crash.dmp" >nul 2>&1
for %%k in (read divide illegal cpp heap-corruption stack-overflow fail-fast) do call :console_crash %%k
copy "%dump%" "%out%\console-crash.dmp" >nul 2>&1
call :no_script
exit /b 0

:console_crash
>"%script%" echo on load register
>>"%script%" echo on activate crash %1
set run=%host% -run
call :step 54-console-crash-%1 any
exit /b 0

:tools
set run="%programs%\controller-check.exe" "%programs%\orrin-ctrl.dll"
call :step 60-controller-check 0
set run="%programs%\quillon-log.exe" -n 200
call :step 61-log any
exit /b 0

rem A data folder that belongs to ordinary users, in which administrators have no rights.
:foreign_folder
set run=%tool% uninstall --remove-logs
call :step 70-uninstall-with-logs 0
set "foreign=%ALLUSERSPROFILE%\Velmora\Quillon"
mkdir "%foreign%" >nul 2>&1
>"%foreign%\left-by-somebody.txt" echo left
set run=icacls "%foreign%" /grant:r *S-1-5-32-545:(OI)(CI)F /inheritance:r
call :step 71-foreign-rights any
set run=icacls "%foreign%" /setowner *S-1-5-32-545 /t
call :step 72-foreign-owner any
set run=%tool% install
call :step 73-install-over-foreign-folder 0
set run=%tool% check
call :step 74-check-rights 0
set run=icacls "%foreign%" /t
call :step 75-rights-after any
exit /b 0

rem Questions that one command answers, those of docs/windows.md by their number. The answer is in
rem the step's file.
:open_questions
rem Does the log of a run end with "End" when the library calls ExitProcess?
>"%script%" echo on load register
>>"%script%" echo on activate exit 5
set run=%host% -run
call :step 80-library-exits any
set run="%programs%\quillon-log.exe" -n 5
call :step 81-log-after-library-exit any
call :no_script
rem How are a number that is too large and a pointer of 0 read?
set run=%host% -dump 4294967297 1 0
call :step 82-dump-number-too-large any
set run=%host% -dump 4 4 0x0
call :step 83-dump-pointer-with-prefix any
set run="%programs%\quillon-log.exe" -n 40
call :step 84-log-of-dumps any
rem O1 to O6 are in test programs, which only a build has.
call :test_program O1 scm_races.exe
call :test_program O2 service_tests.exe ServiceStop.*:ServiceCycles.*
call :test_program O3 framework_exception_tests.exe CorruptHeap.*
call :test_program O4 crash_tests.exe *StackOverflow*
call :test_program O5 crash_tests.exe DumpMode.PointerThatDoesNotParse*
call :test_program O6 console_tests.exe ConsoleExit.*
rem O7, a selection in a console window, is for a person.
set run=reg query HKLM\SYSTEM\CurrentControlSet\Control /v WaitToKillServiceTimeout
call :step 85-O8 any
set run=wevtutil qe Application /c:20 /rd:true /f:text /q:"*[System[(EventID=1000)]]"
call :step 86-crashes-the-system-saw any
exit /b 0

rem test_program QUESTION PROGRAM [FILTER]
:test_program
if not exist "%programs%\%2" exit /b 0
set run="%programs%\%2"
if not "%~3"=="" set run="%programs%\%2" "--gtest_filter=%~3"
call :step 85-%1 0
exit /b 0

:packages
if "%new_msi%"=="" exit /b 0
set "installed=%ProgramFiles%\Velmora\Tarnwick"
set run=msiexec /i "%old_msi%" /qn
call :step 91-msi-old 0
copy "%programs%\orrin-ctrl.dll" "%installed%" >nul 2>&1
set run="%installed%\service-tool.exe" install
call :step 92-install-old 0
set run=msiexec /i "%new_msi%" /qn
call :step 93-msi-upgrade 0
set run=cmd /c dir "%installed%"
call :step 94-files-after-upgrade 0
set run="%installed%\service-tool.exe" check
call :step 95-check-after-upgrade 0
del "%installed%\quillon-log.exe" >nul 2>&1
set run=msiexec /fa "%new_msi%" /qn
call :step 96-msi-repair 0
set run="%installed%\quillon-log.exe" --help
call :step 97-repaired-file 0
rem Files in use: 3010 means that a restart of the machine completes it.
set run=sc start %service%
call :step 98-start any
set run=msiexec /fa "%new_msi%" /qn /norestart
call :step 99-msi-repair-while-running any
set run="%installed%\service-tool.exe" uninstall --remove-logs
call :step 99-uninstall 0
del "%installed%\orrin-ctrl.dll" >nul 2>&1
set run=msiexec /x "%new_msi%" /qn
call :step 99-msi-remove 0
exit /b 0

rem ---- how a step is run -------------------------------------------------------------------------

rem step NAME CODE: runs the command in run, into the file NAME.txt. CODE is the expected exit code,
rem or "any" where the answer is what counts.
:step
echo   %1
>"%out%\%1.txt" echo %run%
%run% >>"%out%\%1.txt" 2>&1 <nul
set "code=%errorlevel%"
>>"%out%\%1.txt" echo exit code %code%
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
sc query %service% >"%out%\%1.txt" 2>&1
find "%2" "%out%\%1.txt" >nul 2>&1
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
