# Checks the dynamic symbol table of the agent library: the API that toolkit
# wrappers use is there, the internals are not.
#   cmake -DLIBRARY=<path to libtolvexhook.so> -DNM=<nm> -P exports.cmake
execute_process(COMMAND ${NM} -D -C --defined-only ${LIBRARY}
                OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${NM} failed on ${LIBRARY}")
endif()

set(failures "")

# What a wrapper needs, one member of each exported family.
foreach(wanted
        "Tolvex::Hook::connectAndCreateHook("
        "Tolvex::Hook::staticMetaObject"
        "Tolvex::Wrapper::getExistingRealName("
        "Tolvex::WrapperCreator::createMethod("
        "Tolvex::AUTProcess::name() const"
        "Tolvex::Launcher::errorResult("
        "Tolvex::Inspector::self()"
        "Tolvex::Class::property("
        "Tolvex::Object::className() const"
        "Tolvex::DelegateFactory::addDelegate("
        "Tolvex::ClassRegistrar::ClassRegistrar("
        "Tolvex::ObjectName::properties() const"
        "Tolvex::PropertyValue::matches("
        "Tolvex::mouseButtonByIndex("
        "tolvex_register_qobject_type"
        " registermirt")
    string(FIND "${symbols}" "${wanted}" at)
    if(at EQUAL -1)
        string(APPEND failures "missing: ${wanted}\n")
    endif()
endforeach()

# Sockets, processes, channels, the call engine, private records and the
# Hook's own helpers stay inside. Of the socket only what hands the agent a
# connection the application made itself is out: FSocket(int) and the
# destructor.
foreach(internal
        "FSocket::connectToHost" "FSocket::readBlock" "FSocket::writeBlock" "FSocket::bind"
        "FSocket::FSocket()" "FProcess::" "FEnvironmentVariables::" "FHostAddress::"
        "Tolvex::TCPMessageChannel" "Tolvex::AsyncIPC" "Tolvex::IPC::" "Tolvex::IPCHandshake"
        "Tolvex::ChunkedMessage" "Tolvex::MessagingServer" "Tolvex::readVariant"
        "Tolvex::HookData" "Tolvex::ClassPrivate" "Tolvex::ObjectHandles"
        "Tolvex::TestDataStore" "Tolvex::Remote::" "Tolvex::HookEnvironment::"
        "Tolvex::logLine")
    string(FIND "${symbols}" "${internal}" at)
    if(NOT at EQUAL -1)
        string(APPEND failures "exported: ${internal}\n")
    endif()
endforeach()

if(failures)
    message(FATAL_ERROR "The library's exports are not its public API:\n${failures}")
endif()
