// No editor, no sockets but the flow's own, and only the nodes that the flow uses: the least memory.
module.exports = {
  flowFile: 'flows.json',
  credentialSecret: false,
  httpAdminRoot: false,
  httpNodeRoot: false,
  disableEditor: true,
  uiHost: '127.0.0.1',
  externalModules: {autoInstall: false, palette: {allowInstall: false}, modules: {allowInstall: false}},
  nodesExcludes: [
    '05-junction.js', '20-inject.js', '21-debug.js', '24-complete.js', '25-catch.js', '25-status.js', '60-link.js',
    '90-comment.js', '91-global-config.js', '10-switch.js', '15-change.js', '16-range.js', '80-template.js',
    '89-delay.js', '89-trigger.js', '90-exec.js', 'rbe.js', '06-httpproxy.js', '10-mqtt.js', '21-httpin.js',
    '22-websocket.js', '31-tcpin.js', '32-udp.js', '70-CSV.js', '70-HTML.js', '70-JSON.js', '70-XML.js', '70-YAML.js',
    '17-split.js', '18-sort.js', '19-batch.js', '10-file.js', '23-watch.js',
  ],
  functionGlobalContext: {fs: require('fs'), net: require('net'), zlib: require('zlib')},
  logging: {console: {level: 'fatal', metrics: false, audit: false}},
  diagnostics: {enabled: false},
  runtimeState: {enabled: false},
};
