// Where an address leads: #/ is the site, #/camera/NAME/TAB a camera.

export function routeOf(hash) {
  const [place, name, tab] = hash.replace(/^#\/?/, '').split('/');
  if (place !== 'camera' || !name)
    return {};
  try {
    return {name: decodeURIComponent(name), tab};
  } catch {
    return {};
  }
}
