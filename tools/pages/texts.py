"""What the manual says and no help does."""

GUIDE = {'vornhost': 'network cameras, seen as a video recorder sees them',
         'camsim': 'simulator of network cameras'}

# Of verbs that take the rest of the line as it stands, and whose help therefore tells no arguments.
ARGUMENTS = {'call': 'ADDRESS OPERATION [ARGUMENT...]'}

ENVIRONMENT = {
    'vornhost': [
        ('VORNHOST_USER', 'The user name, where --user gives none.'),
        ('VORNHOST_PASSWORD', 'The password, where --password-file gives none. It is never printed.'),
        ('GST_DEBUG', 'The debug lines of GStreamer; those of the plug-in\'s element have the category '
                      'vorn_eventsynth.')],
    'camsim': [('GST_DEBUG', 'The debug lines of GStreamer, which makes the streams.')]}

FILES = {
    'vornhost': [
        ('{model_list}', 'The model list, where --models names none; see vornhost-model-list(5).'),
        ('{plugins}/libpanasonic_handler.so', 'The plug-in, where --plugin names none.')],
    'camsim': [('FILE of --state', 'What the cameras keep; written anew at every change.')]}

SEE_ALSO = {'vornhost': ['camsim(1)', 'vornhost-model-list(5)', 'vornhost-host(7)'],
            'camsim': ['vornhost(1)']}

HOST_SYNOPSIS = ['#include <host/object_factory.h>', '', 'find_package(Vornhost 1 CONFIG REQUIRED)',
                 'target_link_libraries(HOST PRIVATE Vornhost::host)      # a framework of its own',
                 'target_link_libraries(HOST PRIVATE Vornhost::refhost)   # the framework made real', '',
                 'pkg-config --cflags vornhost-host']
